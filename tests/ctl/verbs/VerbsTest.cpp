#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/accounts/Town.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

Strings keysOf(const Json& object) {
  Strings keys;
  for (const auto& [key, value] : object.items()) keys.push_back(key);
  return keys;
}

TEST(Verbs, CanLogInEndsWithStatus1WhenOneOfSeveralIsNotFound) {
  const auto outcome = runIn(household(), {"--json", "can-log-in", "bob", "1002"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  EXPECT_EQ(documentOf(outcome), Json::parse(R"({"users": [
    {"uid": 1001, "found": true, "allowed": true, "rule": "local login enabled",
     "source": "default", "name": "bob", "longName": "Bob",
     "guid": "00000000-0000-4000-8000-000000001001", "node": "local",
     "reason": "LocalUserLoginEnabled isn't set: local users may log in", "file": null,
     "line": null, "key": "LocalUserLoginEnabled", "entry": null, "chain": [], "hours": null,
     "unknown": [], "others": [], "nearest": []},
    {"uid": 1002, "found": false, "allowed": false, "rule": "no such account", "source": null,
     "name": null, "longName": null, "guid": null, "node": null,
     "reason": "no directory has user id 1002", "file": null, "line": null, "key": null,
     "entry": null, "chain": [], "hours": null, "unknown": [], "others": [],
     "nearest": []}]})"));
}

TEST(Verbs, CanLogInSaysWhereARefusalComesFrom) {
  const auto outcome = runIn(
      household(R"(, "managed": { "com.orvane.gatehall": { "LocalUserLoginEnabled": false } })"),
      {"--json", "can-log-in", "1001"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  const auto bob = documentOf(outcome)["users"][0];
  EXPECT_EQ(bob["rule"], "local login disabled");
  EXPECT_EQ(bob["source"], "managed");
  EXPECT_THAT(bob["file"].get<std::string>(), HasSubstr("test.world.json"));
  EXPECT_EQ(bob["key"], "LocalUserLoginEnabled");
}

TEST(Verbs, CanLogInAnswersForEverybodyThereIs) {
  const auto outcome = runIn(household(), {"--json", "can-log-in", "--all"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  Strings names;
  const auto document = documentOf(outcome);
  for (const auto& user : document["users"]) names.push_back(user["name"]);
  EXPECT_THAT(names, ElementsAre("ann", "bob"));
  EXPECT_EQ(runIn(household(), {"can-log-in", "--all"}).output,
            "UID   NAME  ALLOWED  RULE                 SOURCE\n"
            "1000  ann   yes      administrator        -\n"
            "1001  bob   yes      local login enabled  default\n"
            "\n"
            "2 of 2 users may log in\n");
}

TEST(Verbs, CanLogInExplainsOneUserAndSeveralOnRequest) {
  EXPECT_EQ(runIn(household(), {"can-log-in", "ann"}).output,
            "UID   NAME  ALLOWED  RULE           SOURCE\n"
            "1000  ann   yes      administrator  -\n"
            "      admin \u2192 ann\n"
            "\n"
            "1 of 1 user may log in\n");
  EXPECT_THAT(runIn(household(), {"can-log-in", "ann", "bob"}).output, Not(HasSubstr("isn't set")));
  EXPECT_THAT(runIn(household(), {"can-log-in", "--why", "ann", "bob"}).output,
              HasSubstr("\n      LocalUserLoginEnabled isn't set: local users may log in\n"));
  EXPECT_EQ(runIn(household(), {"can-log-in", "--no-legend", "ann"}).output,
            "1000  ann  yes  administrator  -\n");
}

TEST(Verbs, CanLogInTellsNamesThatComeNear) {
  EXPECT_THAT(runIn(household(), {"can-log-in", "obb", "bob"}).output,
              HasSubstr("-     obb   no       no such account      -\n      near: bob\n1001"));
  EXPECT_EQ(runIn(household(), {"can-log-in", "--no-legend", "obb", "ann"}).output,
            "-     obb  no   no such account  -\n1000  ann  yes  administrator    -\n");
}

TEST(Verbs, CanLogInOfAllHasStatus3WhereADirectorysAccountsAreMissing) {
  const auto world = [](const std::string& unreachable) {
    return R"({ "directory": { "localNode": "local", "searchNode": { "name": "search",
        "covers": ["local", "unix", "ldap/a"], "unreachable": [)" +
           unreachable + R"(] },
        "nodes": [ { "name": "local" }, { "name": "unix" }, { "name": "ldap/a" } ] } })";
  };
  EXPECT_EQ(runIn(world(""), {"can-log-in", "--all"}).status, ExitStatus::Done);
  const auto outcome = runIn(world(R"("ldap/a")"), {"can-log-in", "--all"});
  EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
  EXPECT_THAT(outcome.errors, HasSubstr("ldap/a can't be asked now"));
  EXPECT_EQ(runIn(world(R"("ldap/a")"), {"can-log-in", "--all", "--at", "login"}).status,
            ExitStatus::HostFailure);
}

TEST(Verbs, CanLogInSaysOfWhomItCantDecideAndWhyWithStatus3) {
  const auto faults =
      R"(, "faults": [ { "operation": "applicationBoolean", "raise": "platform" } ])";
  const auto outcome = runIn(household(faults), {"--json", "can-log-in", "1001", "1000"});
  EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
  const auto users = documentOf(outcome)["users"];
  ASSERT_EQ(users.size(), 2U);
  EXPECT_EQ(users[0]["found"], true);
  EXPECT_EQ(users[0]["allowed"], false);
  EXPECT_EQ(users[0]["rule"], "undecidable");
  EXPECT_TRUE(users[0]["source"].is_null());
  EXPECT_NE(users[0]["reason"], "");
  EXPECT_EQ(users[1]["rule"], "administrator") << "who needs no answer of it";
  EXPECT_EQ(outcome.errors,
            "gatehallctl: 1001 is undecidable: " + users[0]["reason"].get<std::string>() + "\n");
  EXPECT_THAT(runIn(household(faults), {"can-log-in", "1001"}).output,
              HasSubstr("1001  bob   no       undecidable  -\n"));
}

TEST(Verbs, UserTakesANameAndSaysWhyNobodyIsShown) {
  EXPECT_EQ(documentOf(runIn(household(), {"--json", "user", "bob"}))["getUid"], 1001);
  const auto unknown = runIn(household(), {"user", "obb"});
  EXPECT_EQ(unknown.status, ExitStatus::No);
  EXPECT_EQ(unknown.output, "");
  EXPECT_EQ(unknown.errors,
            "gatehallctl: obb: no such account: no directory has obb\n"
            "gatehallctl: near: bob\n");
  const auto failing =
      runIn(household(R"(, "faults": [ { "operation": "queryResults", "raise": "platform" } ])"),
            {"user", "bob"});
  EXPECT_EQ(failing.status, ExitStatus::HostFailure);
  EXPECT_THAT(failing.errors, HasSubstr("bob: undecidable: "));
}

TEST(Verbs, UserSaysSoWithStatus1WhenNobodyHasTheID) {
  const auto outcome = runIn(household(), {"--json", "user", "1002"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  const auto document = documentOf(outcome);
  ASSERT_THAT(keysOf(document), ElementsAre("errors"));
  ASSERT_EQ(document["errors"].size(), 1U);
  EXPECT_EQ(outcome.errors, "gatehallctl: " + document["errors"][0].get<std::string>() + "\n");
  EXPECT_THAT(outcome.errors, HasSubstr("1002"));
}

TEST(Verbs, UserShowsEveryPropertyOfTheDocumentOnceUnderItsSubject) {
  const auto document = documentOf(runIn(household(), {"--json", "user", "1001"}));
  const auto text = runIn(household(), {"user", "1001"}).output;
  EXPECT_THAT(text, testing::StartsWith("IDENTITY: "));
  for (const auto& [name, value] : document.items()) {
    if (name == "others") continue;  // other accounts
    const auto place = text.find("\n  " + name + " ");
    ASSERT_NE(place, std::string::npos) << name;
    EXPECT_EQ(text.find("\n  " + name + " ", place + 1), std::string::npos) << name;
  }
  EXPECT_THAT(runIn(household(), {"user", "1001", "--no-legend"}).output,
              AllOf(testing::StartsWith("shortName "), Not(HasSubstr("\n\n"))));
  EXPECT_THAT(runIn(household(), {"user", "1001", "--wide"}).output, HasSubstr("the user id\n"));
}

TEST(Verbs, UserSaysHowLongAgoAPasswordExpiredAndTheDocumentCountsTheMinutes) {
  const auto expired = [](std::int64_t minutesAgo, const Strings& words) {
    // Seconds at 9:00, and a password that lasts for a day.
    constexpr std::int64_t kNow = 1795251600;
    const auto set = kNow - (minutesAgo + 1440) * 60;
    return runIn(R"({ "now": "2026-11-21T09:00:00Z", "directory": { "localNode": "local",
      "searchNode": { "name": "search", "covers": ["local"] }, "nodes": [ { "name": "local",
      "records": [ { "type": "Users", "attributes": { "RecordName": ["bob"], "UniqueID": ["1001"],
        "GUID": ["00000000-0000-4000-8000-000000001001"] }, "policy": {
        "maxMinutesUntilChangePassword": 1440, "passwordLastSetTime": )" +
                     std::to_string(set) + "} } ] } ] } }",
                 words);
  };
  const auto text = [&](std::int64_t minutesAgo) {
    return expired(minutesAgo, {"user", "bob"}).output;
  };
  const std::string name = "\n  minutesUntilPasswordExpires  ";
  EXPECT_THAT(text(3 * 1440 + 100), HasSubstr(name + "expired 3 days ago\n"));
  EXPECT_THAT(text(1440), HasSubstr(name + "expired 1 day ago\n"));
  EXPECT_THAT(text(1439), HasSubstr(name + "expired 23 hours ago\n"));
  EXPECT_THAT(text(59), HasSubstr(name + "expired 59 minutes ago\n"));
  EXPECT_THAT(text(-59), HasSubstr(name + "59\n"));
  const auto document = documentOf(expired(1440, {"--json", "user", "bob"}));
  EXPECT_EQ(document["minutesUntilPasswordExpires"], std::uint64_t{0} - 1440);
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

constexpr const char* kNobody = "00000000-0000-4000-8000-000000000000";

TEST(Verbs, ExpandTakesNamesAndNamesWhomItFinds) {
  const auto document = documentOf(runIn(household(), {"--json", "expand", "admin", "bob"}));
  EXPECT_EQ(document["guids"],
            Json({"00000000-0000-4000-8000-000000001001", "00000000-0000-4000-8000-000000001000"}));
  EXPECT_EQ(document["users"][1], Json::parse(R"({"guid": "00000000-0000-4000-8000-000000001000",
      "name": "ann", "longName": "Ann", "node": "local"})"));
  EXPECT_EQ(runIn(household(), {"expand", "admin"}).output,
            "NAME  LONG NAME  GUID                                  NODE\n"
            "ann   Ann        00000000-0000-4000-8000-000000001000  local\n"
            "\n"
            "1 GUID\n");
  const auto unknown = runIn(household(), {"expand", "admni"});
  EXPECT_EQ(unknown.status, ExitStatus::No);
  EXPECT_EQ(unknown.errors, "gatehallctl: admni is no user and no group; near: admin\n");
}

TEST(Verbs, GuidIsThatOfEachUserAndGroupOfTheName) {
  const auto outcome = runIn(household(), {"--json", "guid", "bob", "admin"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  EXPECT_EQ(documentOf(outcome), Json::parse(R"({"entries": [
      {"kind": "user", "name": "bob", "longName": "Bob",
       "guid": "00000000-0000-4000-8000-000000001001", "node": "local"},
      {"kind": "group", "name": "admin", "longName": null,
       "guid": "00000000-0000-4000-8000-00000000AD31", "node": "local"}]})"));
  EXPECT_EQ(runIn(household(), {"--no-legend", "guid", "admin"}).output,
            "group  admin  00000000-0000-4000-8000-00000000AD31  local\n");
  const auto unknown = runIn(household(), {"guid", "obb", "bob"});
  EXPECT_EQ(unknown.status, ExitStatus::No);
  EXPECT_THAT(unknown.errors, HasSubstr("obb is no user and no group; near: bob"));
  EXPECT_THAT(unknown.output, HasSubstr("user  bob"));
}

TEST(Verbs, PrefsNamesTheUsersAndGroupsOfTheLists) {
  const auto lists = R"(, "managed": { "com.orvane.gatehall": { "DenyList": [
      "00000000-0000-4000-8000-00000000AD31", "*" ] } })";
  const auto denied = documentOf(runIn(household(lists), {"--json", "prefs"}))["deniedList"];
  EXPECT_EQ(denied, Json::parse(R"({"value": ["00000000-0000-4000-8000-00000000AD31", "*"],
      "source": "managed", "names": ["admin", null]})"));
  EXPECT_THAT(runIn(household(lists), {"prefs"}).output,
              HasSubstr("admin (00000000-0000-4000-8000-00000000AD31)"));
}

TEST(Verbs, ListsAreNullWhenTheyCanNotBeHad) {
  EXPECT_EQ(documentOf(runIn("{}", {"--json", "admins"})),
            Json::parse(R"({"users": null, "log": []})"));
  EXPECT_EQ(documentOf(runIn(household(), {"--json", "expand", kNobody})),
            Json::parse(R"({"guids": null, "log": [], "users": null})"));
}

TEST(Verbs, ListsTellWhatWasLogged) {
  const auto faults = R"(, "faults": [ { "operation": "subnodeNames", "raise": "platform" } ])";
  const auto outcome = runIn(household(faults), {"--json", "network-users"});
  EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(documentOf(outcome), Json::parse(R"({"users": null, "log": [
      {"level": "error", "text": "Unable to find the network users."}]})"));
  EXPECT_THAT(runIn(household(faults), {"network-users"}).output,
              HasSubstr("error   Unable to find the network users.\n"));
}

TEST(Verbs, NetworkUsersAreNoFailureWhereEveryoneIsDenied) {
  const auto lists = R"(, "managed": { "com.orvane.gatehall": { "DenyList": ["*"] } })";
  const auto outcome = runIn(town(lists), {"--json", "network-users"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  EXPECT_EQ(documentOf(outcome), Json::parse(R"({"users": null, "log": []})"));
}

TEST(Verbs, WhatWasLoggedBesideAnAnswerGoesToStandardError) {
  const auto outcome =
      runIn(town(R"(, "managed": { "com.orvane.gatehall": { "AllowList": ["nobody"] } })"),
            {"--json", "can-log-in", "dana"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  EXPECT_EQ(outcome.errors, "gatehallctl: logged, diagnostic: AllowList names nobody: nobody\n");
}

TEST(Verbs, WhatWasLoggedStandsBehindAnAnswerThatDoesNotTellIt) {
  const auto document = documentOf(
      runIn(town(R"(, "managed": { "com.orvane.gatehall": { "AllowList": ["nobody"] } })"),
            {"--json", "--trace", "can-log-in", "dana", "nobody"}));
  EXPECT_THAT(keysOf(document), ElementsAre("users", "calls", "log"));
  EXPECT_EQ(document["log"], Json::parse(R"([{"level": "diagnostic",
                                              "text": "AllowList names nobody: nobody"}])"));
  EXPECT_FALSE(documentOf(runIn(household(), {"--json", "prefs"})).contains("log"));
}

TEST(Verbs, AHostThatFailsToAnswerEndsWithStatus3AndIsNamed) {
  for (const auto* kind : {"platform", "other"}) {
    const auto outcome =
        runIn(household(R"(, "faults": [ { "operation": "applicationBoolean", "raise": ")" +
                        std::string(kind) + R"(" } ])"),
              {"--json", "prefs"});
    EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("the host failed to answer"),
                                      HasSubstr("preference store, applicationBoolean")));
    const auto document = documentOf(outcome);
    EXPECT_THAT(keysOf(document), ElementsAre("errors"));
    EXPECT_EQ("gatehallctl: " + document["errors"][0].get<std::string>() + "\n", outcome.errors);
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
