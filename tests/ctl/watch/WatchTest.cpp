#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

/// What is printed while the steps happen in ann's and bob's household.
ctl::Outcome watch(std::string_view steps, Strings options = {},
                   const std::string& world = household()) {
  const WorldFileOnDisk script(steps);
  Strings words = {"watch", "--script", script.path()};
  words.insert(words.begin(), options.begin(), options.end());
  return runIn(world, words);
}

/// The lines for people behind the first list.
Strings linesOf(const ctl::Outcome& outcome) {
  Strings lines;
  std::istringstream text(outcome.output.substr(outcome.output.find("users\n\n") + 7));
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

std::vector<Json> objectsOf(const ctl::Outcome& outcome) {
  std::vector<Json> objects;
  std::istringstream text(outcome.output);
  for (std::string line; std::getline(text, line);) objects.push_back(Json::parse(line));
  return objects;
}

constexpr std::string_view kAddZoe = R"({ "after": 10, "addUser": { "attributes": {
    "RecordName": "zoe", "UniqueID": 1005, "FullName": "Zoe Park",
    "GUID": "00000000-0000-4000-8000-000000001005" } } })";

TEST(Watch, ShowsTheListAndThenEachChange) {
  const auto outcome = watch("[" + std::string(kAddZoe) + R"(,
      { "after": 10, "removeUser": { "name": "bob" } } ])");
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_THAT(outcome.output, testing::StartsWith("UID   SHORT NAME  LONG NAME"));
  EXPECT_THAT(linesOf(outcome),
              ElementsAre("00:00:10  > addUser zoe", "00:00:11  + zoe  Zoe Park  local",
                          "00:00:20  > removeUser bob", "00:00:21  - bob  Bob  local"));
}

TEST(Watch, SaysWhenTheListWasBuiltAnewAndIsAsItWas) {
  EXPECT_THAT(
      linesOf(watch(R"([ { "post": { "name": "com.orvane.UserWasAddedNotification" } } ])")),
      ElementsAre("00:00:00  > post com.orvane.UserWasAddedNotification",
                  "00:00:01  = 2 users, as before"));
}

TEST(Watch, GoesOnForTwoSecondsAfterTheLastEvent) {
  const auto objects = objectsOf(
      watch(R"([ { "after": 0.5, "post": { "name": "com.orvane.UserWasAddedNotification" } } ])",
            {"--json"}));
  ASSERT_EQ(objects.size(), 3U);
  EXPECT_EQ(objects[1]["time"], "2026-01-01T00:00:00.5Z");
  EXPECT_EQ(objects[2]["time"], "2026-01-01T00:00:01.5Z");
}

TEST(Watch, PrintsOneObjectALineWithStableKeys) {
  const auto outcome = watch("[" + std::string(kAddZoe) + "]", {"--json"});
  const auto objects = objectsOf(outcome);
  ASSERT_EQ(objects.size(), 3U);
  EXPECT_EQ(objects[0]["event"], "list");
  EXPECT_EQ(objects[0]["users"].size(), 2U);
  EXPECT_EQ(objects[1].dump(),
            R"({"time":"2026-01-01T00:00:10Z","event":"step","step":"addUser zoe"})");
  EXPECT_EQ(objects[2], Json::parse(R"({ "time": "2026-01-01T00:00:11Z", "event": "added",
      "position": 3, "user": { "shortName": "zoe", "longName": "Zoe Park", "uid": 1005,
      "guid": "00000000-0000-4000-8000-000000001005", "node": "local", "local": true,
      "current": false, "suspended": false, "mobile": false, "picture": null,
      "kinwatchAllowsLogin": true, "kinwatchNextCurfewTime": null } })"));
  Strings keys;
  for (const auto& [key, value] : objects[2].items()) keys.push_back(key);
  EXPECT_THAT(keys, ElementsAre("time", "event", "position", "user"));
}

TEST(Watch, TellsWhatWasDifferent) {
  const auto objects = objectsOf(
      watch(R"([ { "changeUser": { "name": "bob", "attributes": { "FullName": "Robert" } } } ])",
            {"--json"}));
  ASSERT_EQ(objects.size(), 3U);
  EXPECT_EQ(objects[2]["event"], "changed");
  EXPECT_EQ(objects[2]["user"]["longName"], "Robert");
  EXPECT_EQ(objects[2]["was"], Json::parse(R"({ "longName": "Bob" })"));
}

TEST(Watch, ShowsWhatWasLoggedWhereItHappens) {
  const auto outcome = watch(
      R"([ { "after": 10, "post": { "name": "com.orvane.UserWasAddedNotification" } } ])", {},
      household(
          R"(, "faults": [ { "operation": "copySessionList", "call": 2, "raise": "platform" } ])"));
  EXPECT_EQ(outcome.errors, "");
  const auto lines = linesOf(outcome);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[1], HasSubstr("00:00:11  = 2 users, as before"));
  EXPECT_THAT(lines[2], HasSubstr("00:00:11  ! logged, error: Unable to create user list: "));
}

TEST(Watch, SaysWhenNoListCanBeHadAndGoesOn) {
  const auto outcome = watch(
      R"([ { "after": 10, "post": { "name": "com.orvane.UserWasAddedNotification" } },
           { "after": 10, "post": { "name": "com.orvane.UserWasAddedNotification" } } ])",
      {"--json"},
      household(R"(, "faults": [ { "operation": "copySessionList", "call": 2, "raise": "platform" },
                                 { "operation": "copySessionList", "call": 3, "raise": "platform" } ])"));
  std::vector<std::string> events;
  for (const auto& object : objectsOf(outcome)) events.push_back(object["event"]);
  EXPECT_THAT(events, ElementsAre("list", "step", "noList", "logged", "step", "unchanged"));
  EXPECT_EQ(outcome.status, ExitStatus::Done);
}

TEST(Watch, FailsWhenThereIsNoFirstList) {
  const auto outcome = watch(
      "[]", {"--json"},
      household(R"(, "faults": [ { "operation": "copySessionList", "raise": "platform" } ])"));
  EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
  ASSERT_EQ(objectsOf(outcome).size(), 1U);
  EXPECT_TRUE(objectsOf(outcome)[0].contains("errors"));
  EXPECT_THAT(outcome.errors, HasSubstr("the host failed to answer"));
}

TEST(Watch, EndsWithStatus2AtAnEventThatCannotHappenAfterWhatHappenedBefore) {
  const auto outcome = watch("[" + std::string(kAddZoe) + R"(,
      { "after": 10, "removeUser": { "name": "yann" } } ])");
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_THAT(linesOf(outcome),
              ElementsAre("00:00:10  > addUser zoe", "00:00:11  + zoe  Zoe Park  local",
                          "00:00:20  > removeUser yann"));
  EXPECT_THAT(outcome.errors, AllOf(HasSubstr("test.world.json:4:36: /1/removeUser: "),
                                    HasSubstr("no record \"yann\"")));
}

TEST(Watch, PrintsNothingWhenTheScriptIsWrongAnywhere) {
  const auto outcome = watch("[" + std::string(kAddZoe) + R"(, { "frob": 1 } ])");
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.errors, HasSubstr("/1/frob: unknown key"));
}

TEST(Watch, WantsAScriptInAWorldAndAWorldForAScript) {
  EXPECT_THAT(runIn(household(), {"watch"}).errors,
              HasSubstr("nothing happens without a --script"));
  EXPECT_EQ(runIn(household(), {"watch"}).status, ExitStatus::WrongUsage);
  const auto outcome = run({"watch", "--script", "x.json"});
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_THAT(outcome.errors, HasSubstr("--script needs a --world"));
  EXPECT_EQ(runIn(household(), {"users", "--script", "x.json"}).status, ExitStatus::WrongUsage);
}

TEST(Watch, ShowsTheNetworksStateOnlyWhereThereIsANetwork) {
  constexpr auto world = R"({ "directory": { "localNode": "a",
      "searchNode": { "name": "s", "covers": ["a", "b", "c"], "unreachable": ["c"] },
      "nodes": [ { "name": "a" }, { "name": "b" }, { "name": "c" } ] } })";
  const auto objects = objectsOf(
      watch(R"([ { "after": 3.5, "directory": { "unreachable": [] } } ])", {"--json"}, world));
  ASSERT_EQ(objects.size(), 5U);
  EXPECT_EQ(objects[1], Json::parse(R"({ "time": "2026-01-01T00:00:00Z", "event": "network",
                                         "networkStatus": 0, "parentNetworkExists": false })"));
  EXPECT_EQ(objects[2]["event"], "step");
  EXPECT_EQ(objects[3], Json::parse(R"({ "time": "2026-01-01T00:00:04Z", "event": "network",
                                         "networkStatus": 2, "parentNetworkExists": true })"));
  EXPECT_EQ(objects[4]["event"], "unchanged");
  EXPECT_EQ(objects[4]["time"], "2026-01-01T00:00:05Z");
}

TEST(Watch, EscapesWhatWouldDriveATerminal) {
  const auto outcome = watch(
      R"([ { "changeUser": { "name": "bob", "attributes": { "FullName": "\u001b[2J\nx" } } } ])");
  EXPECT_THAT(linesOf(outcome).back(), HasSubstr(R"(long name: Bob -> \x1B[2J\x0Ax)"));
}

TEST(Watch, LeavesLegendAndFirstHeaderOutOnRequestAndColoursWhoComesAndGoes) {
  const WorldFileOnDisk script("[" + std::string(kAddZoe) + "]");
  const Strings words = {"--no-legend", "watch", "--script", script.path()};
  EXPECT_THAT(runIn(household(), words).output,
              AllOf(testing::StartsWith("1000  ann"), testing::Not(HasSubstr("users\n"))));
  EXPECT_THAT(runIn(household(), words, true).output,
              HasSubstr("\x1B[32m00:00:11  + zoe  Zoe Park  local\x1B[0m\n"));
}

TEST(Watch, KeepsCallsOnlyOnRequestAndShowsThemLast) {
  const auto objects = objectsOf(watch("[]", {"--json", "--trace"}));
  ASSERT_EQ(objects.size(), 2U);
  EXPECT_FALSE(objects[1]["calls"].empty());
}

TEST(Watch, EndsWhenNothingCanBePrintedAnyMore) {
  const WorldFileOnDisk world(household());
  const WorldFileOnDisk script("[" + std::string(kAddZoe) + "," + std::string(kAddZoe) + "]");
  int written = 0;
  const auto refuse = [&](std::string_view) { return ++written < 2; };
  ctl::runCommandLine({"--world", world.path(), "watch", "--script", script.path()},
                      {.write = refuse, .size = [] { return std::nullopt; }});
  EXPECT_EQ(written, 2);
}

}  // namespace
}  // namespace gatehall
