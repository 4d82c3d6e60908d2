#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

Strings keysOf(const Json& object) {
  Strings keys;
  for (const auto& [key, value] : object.items()) keys.push_back(key);
  return keys;
}

TEST(Verbs, CanLogInEndsWithStatus1WhenOneOfSeveralIsNotFound) {
  const auto outcome = runIn(household(), {"--json", "can-log-in", "1001", "1002"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  EXPECT_EQ(documentOf(outcome), Json::parse(R"([
    {"uid": 1001, "found": true, "allowed": true, "rule": "local login enabled",
     "source": "default"},
    {"uid": 1002, "found": false, "allowed": false, "rule": null, "source": null}])"));
}

TEST(Verbs, CanLogInSaysWhereARefusalComesFrom) {
  const auto outcome = runIn(
      household(R"(, "managed": { "com.orvane.gatehall": { "LocalUserLoginEnabled": false } })"),
      {"--json", "can-log-in", "1001"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  EXPECT_EQ(documentOf(outcome)[0]["rule"], "local login disabled");
  EXPECT_EQ(documentOf(outcome)[0]["source"], "managed");
}

TEST(Verbs, CanLogInSaysOfWhomItCantDecideAndWhyWithStatus3) {
  const auto faults =
      R"(, "faults": [ { "operation": "applicationBoolean", "raise": "platform" } ])";
  const auto outcome = runIn(household(faults), {"--json", "can-log-in", "1001", "1000"});
  EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
  const auto document = documentOf(outcome);
  ASSERT_EQ(document.size(), 2U);
  EXPECT_THAT(keysOf(document[0]),
              ElementsAre("uid", "found", "allowed", "rule", "source", "reason"));
  EXPECT_EQ(document[0]["found"], true);
  EXPECT_EQ(document[0]["allowed"], false);
  EXPECT_EQ(document[0]["rule"], "undecidable");
  EXPECT_TRUE(document[0]["source"].is_null());
  EXPECT_NE(document[0]["reason"], "");
  EXPECT_EQ(document[1]["rule"], "administrator") << "who needs no answer of it";
  EXPECT_EQ(outcome.errors,
            "gatehallctl: 1001 is undecidable: " + document[0]["reason"].get<std::string>() + "\n");
  EXPECT_THAT(runIn(household(faults), {"can-log-in", "1001"}).output,
              HasSubstr("1001  bob   no       undecidable  -\n"));
}

TEST(Verbs, UserIsNullWithStatus1WhenNobodyHasTheID) {
  const auto outcome = runIn(household(), {"--json", "user", "1002"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  EXPECT_EQ(outcome.output, "null\n");
  EXPECT_THAT(outcome.errors, HasSubstr("1002"));
}

TEST(Verbs, SwitchThatEndsByAnExceptionSaysWhich) {
  const auto outcome = runIn(
      household(R"(, "faults": [ { "operation": "switchToLoginScreen", "raise": "other" } ])"),
      {"--json", "switch", "-suspend"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  const auto document = documentOf(outcome);
  EXPECT_THAT(keysOf(document), ElementsAre("exitStatus", "exception", "log", "loginService"));
  EXPECT_TRUE(document["exitStatus"].is_null());
  EXPECT_NE(document["exception"], "");
  EXPECT_EQ(document["loginService"], Json::array());
}

TEST(Verbs, SwitchShowsWhatIsLoggedInItsOrder) {
  const auto outcome =
      runIn(R"({ "process": { "effectiveUserID": 1000 } })", {"--json", "switch", "-suspend"});
  EXPECT_EQ(documentOf(outcome)["log"], Json::parse(R"([{"level": "error", "text":
      "Unable to Fast User Switch: User must be the current console user or root."}])"));
}

TEST(Verbs, SwitchShowsEachRequestInItsOrder) {
  const auto outcome =
      runIn(household(), {"--json", "switch", "-switchToUserID", "1001", "-suspend"});
  const auto requests = documentOf(outcome)["loginService"];
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_THAT(keysOf(requests[0]), ElementsAre("operation", "attributes"));
  EXPECT_EQ(requests[0]["operation"], "switchToUser");
  EXPECT_EQ(requests[0]["attributes"]["UserPasswordKey"], "");
  EXPECT_EQ(requests[1], Json::parse(R"({"operation": "switchToLoginScreen"})"));
}

TEST(Verbs, ListsAreNullWhenTheyCanNotBeHad) {
  EXPECT_EQ(documentOf(runIn("{}", {"--json", "admins"})),
            Json::parse(R"({"users": null, "log": []})"));
  EXPECT_EQ(documentOf(runIn(household(), {"--json", "expand", "nobody"})),
            Json::parse(R"({"guids": null, "log": []})"));
}

TEST(Verbs, ListsTellWhatWasLogged) {
  const auto faults = R"(, "faults": [ { "operation": "subnodeNames", "raise": "platform" } ])";
  const auto outcome = runIn(household(faults), {"--json", "network-users"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(documentOf(outcome), Json::parse(R"({"users": null, "log": [
      {"level": "error", "text": "Unable to find the network users."}]})"));
  EXPECT_THAT(runIn(household(faults), {"network-users"}).output,
              HasSubstr("error   Unable to find the network users.\n"));
}

TEST(Verbs, WhatWasLoggedBesideAnAnswerGoesToStandardError) {
  const auto outcome =
      runIn(household(R"(, "faults": [ { "operation": "queryResults", "raise": "platform" } ])"),
            {"--json", "can-log-in", "1001"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  EXPECT_EQ(outcome.errors, "gatehallctl: logged, error: Unable to find user\n");
}

TEST(Verbs, AHostThatFailsToAnswerEndsWithStatus3AndIsNamed) {
  for (const auto* kind : {"platform", "other"}) {
    const auto outcome =
        runIn(household(R"(, "faults": [ { "operation": "applicationBoolean", "raise": ")" +
                        std::string(kind) + R"(" } ])"),
              {"--json", "prefs"});
    EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("the host failed to answer"),
                                      HasSubstr("preference store, applicationBoolean")));
  }
}

TEST(Verbs, DatesAndBytesAreWrittenAsAWorldFileWritesThem) {
  const auto outcome = runIn(R"({ "preferences": { "com.orvane.gatehall": { "system": {
      "HiddenUsersList": [ "ann", { "$date": "2026-11-21T09:00:00Z" }, { "$data": "aGVsbG8=" } ]
      } } } })",
                             {"--json", "prefs"});
  EXPECT_EQ(documentOf(outcome)["hiddenUsersList"], Json::parse(R"({ "value": [ "ann",
      { "$date": "2026-11-21T09:00:00Z" }, { "$data": "aGVsbG8=" } ], "source": "preferences" })"));
}

}  // namespace
}  // namespace gatehall
