#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "linux/preferences/PolicyFileContent.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

/// Everything in it that somebody chose has "Secret" or "5ec0" in it, in one case or the other.
constexpr std::string_view kWorld = R"({"now": "2026-01-02T03:04:05Z",
  "process": {"effectiveUserID": 1000},
  "directory": {"localNode": "local",
    "searchNode": {"name": "search", "covers": ["local", "unix", "ldap/secret.org"],
                   "localFirst": true},
    "nodes": [
      {"name": "local", "records": [
        {"type": "Users", "password": "secret", "policy": {"maxMinutesUntilChangePassword": 60},
         "attributes": {"RecordName": ["secretzoe", "secretalias"], "UniqueID": 1000,
            "FullName": "Aa Secret", "GUID": "5EC0C000-0000-4000-8000-000000001000",
            "NFSHomeDirectory": "/home/secret", "Picture": "/secret.png", "UserShell": "/secret/sh",
            "HomeDirectory": "<home_dir><url>afp://secret/home</url></home_dir>",
            "AuthenticationAuthority": [";Kerberosv5;;secret@SECRET.ORG;"],
            "AuthenticationHint": "secret", "Password": "$6$secret$secret",
            "secretKind": "secret"}},
        {"type": "Users", "password": "", "attributes": {"RecordName": "secretbob",
            "UniqueID": 1001, "FullName": "Zz Secret", "PrimaryGroupID": 100,
            "GUID": "5EC0C000-0000-4000-8000-000000001001"}},
        {"type": "Users", "attributes": {"RecordName": "secretold", "UniqueID": 1002,
            "AuthenticationAuthority": [";ShadowHash;", ";DisabledUser;expired"],
            "GUID": "5EC0C000-0000-4000-8000-000000001002"}},
        {"type": "Users", "attributes": {"RecordName": "secretshut", "UniqueID": 1003,
            "AuthenticationAuthority": ";DisabledUser;",
            "GUID": "5EC0C000-0000-4000-8000-000000001003"}},
        {"type": "Groups", "attributes": {"RecordName": "admin", "GroupMembership": "secretzoe",
            "GUID": "5EC0C000-0000-4000-8000-00000000A000"}},
        {"type": "Groups", "attributes": {"RecordName": "secretgroup", "PrimaryGroupID": 100,
            "GUID": "5EC0C000-0000-4000-8000-00000000A001",
            "GroupMembers": ["5EC0C000-0000-4000-8000-000000002000"]}}]},
      {"name": "unix"},
      {"name": "ldap/secret.org", "server": "ldaps://secret.org", "tls": "verified",
       "whenAway": "refuse", "records": [
        {"type": "Users", "attributes": {"RecordName": "secretdana", "UniqueID": 2000,
            "GUID": "5ec0c000-0000-4000-8000-000000002000"}},
        {"type": "Users", "attributes": {"RecordName": "secretdora", "UniqueID": 2001,
            "GUID": "5EC0C000-0000-4000-8000-000000002001"}}]}]},
  "sessions": {"current": 1, "list": [{"id": 1, "userID": 1000, "userName": "secretzoe",
                                       "loginDone": true}]},
  "membership": {"gatehall": {"members": [1000, "5EC0C000-0000-4000-8000-00000000A001",
     "5EC0C000-0000-4000-8000-000000002001"], "missing": "secret.org: no route"}},
  "preferences": {"com.orvane.gatehall": {"system": {"HiddenUsersList": ["secretbob", "secretgone"],
     "Secret": "secret"}}, "org.secret": {"user": {"Secret": true}}},
  "managed": {"com.orvane.gatehall": {"AllowList": ["5ec0c000-0000-4000-8000-00000000a001"],
     "StrictAllowList": "yes"}, "com.orvane.Tavlo": {"Secret": "secret"}},
  "faults": [{"operation": "verifyPassword", "raise": "platform", "text": "secret",
              "where": {"user": "secretdora", "node": "ldap/secret.org"}},
             {"operation": "copyApplicationValue", "raise": "platform",
              "where": {"value": "org.secret.com.orvane.gatehall"}},
             {"operation": "valuesForAttribute", "raise": "platform",
              "where": {"attribute": "secretKind"}}]})";

TEST(Anonymous, NothingThatSomebodyChoseIsLeft) {
  const auto outcome = runIn(kWorld, {"export", "--all", "--anonymous"});
  ASSERT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  auto text = outcome.output + outcome.errors;
  for (char& c : text) c = static_cast<char>(std::tolower(c));
  EXPECT_THAT(text, Not(HasSubstr("secret")));
  EXPECT_THAT(text, Not(HasSubstr("5ec0")));
}

TEST(Anonymous, TheAnswersAreTheSame) {
  const auto world = runIn(kWorld, {"export", "--all", "--anonymous"}).output;
  const auto answer = [](std::string_view of, Strings words) {
    words.insert(words.begin(), "--json");
    return documentOf(runIn(of, words));
  };
  for (const auto* userID : {"1000", "1001", "1002", "1003", "2000", "2001", "3000"}) {
    const auto before = answer(kWorld, {"can-log-in", userID});
    const auto after = answer(world, {"can-log-in", userID});
    for (const auto* key : {"found", "allowed", "rule", "source"}) {
      EXPECT_EQ(before["users"][0][key], after["users"][0][key]) << userID << " " << key;
    }
  }
  for (const auto* verb : {"users", "network-users", "admins"}) {
    const auto before = answer(kWorld, {verb})["users"];
    const auto after = answer(world, {verb})["users"];
    ASSERT_EQ(before.size(), after.size()) << verb;
    for (std::size_t index = 0; index < before.size(); ++index) {
      for (const auto* key : {"uid", "local", "current", "suspended", "mobile"}) {
        EXPECT_EQ(before[index][key], after[index][key]) << verb << " " << key;
      }
    }
  }
  EXPECT_EQ(answer(kWorld, {"network"}), answer(world, {"network"}));
}

TEST(Anonymous, EverySettingStays) {
  auto world =
      Json::parse(R"({"directory": {"localNode": "local", "nodes": [{"name": "local"}]}})");
  auto& settings = world["managed"]["com.orvane.gatehall"];
  for (const auto key : loginScreenSettings()) {
    settings[std::string(key)] =
        kindOfSetting(key) == SettingKind::Boolean ? Json(true) : Json::array({"*"});
  }
  const auto anonymous =
      documentOf(runIn(world.dump(), {"--json", "export", "--anonymous"}))["world"];
  EXPECT_EQ(nlohmann::json::parse(anonymous["managed"].dump()),
            nlohmann::json::parse(world["managed"].dump()));
}

TEST(Anonymous, FaultsOfWhatTheRulesReadStay) {
  const std::string world = R"({"process": {"effectiveUserID": 1000},
    "directory": {"localNode": "local", "nodes": [{"name": "local"}]},
    "faults": [{"operation": "readPropertyList", "raise": "platform", "text": "can't be told",
                "where": {"value": "/Library/Managed Preferences/com.orvane.gatehall.plist"}},
               {"operation": "copyApplicationValue", "raise": "platform", "text": "can't be told",
                "where": {"value": "com.orvane.gatehall"}},
               {"operation": "valuesForAttribute", "raise": "platform", "text": "can't be told",
                "where": {"attribute": "lxAttrTypeStandard:GUID"}}]})";
  const auto anonymous =
      documentOf(runIn(world, {"--json", "export", "--all", "--anonymous"}))["world"];
  auto faults = Json::parse(world)["faults"];
  for (auto& fault : faults) fault["text"] = "it can't be told";
  EXPECT_EQ(anonymous["faults"], faults);
}

TEST(Anonymous, WhoeverExportsAgainGetsTheSame) {
  const auto once = runIn(kWorld, {"export", "--all", "--anonymous"}).output;
  EXPECT_EQ(runIn(once, {"export", "--all", "--anonymous"}).output, once);
}

TEST(Anonymous, FullNamesKeepTheirOrder) {
  const auto world =
      documentOf(runIn(kWorld, {"--json", "export", "--all", "--anonymous"}))["world"];
  const auto& records = world["directory"]["nodes"][0]["records"];
  EXPECT_EQ(records[0]["attributes"]["FullName"], "User1");
  EXPECT_EQ(records[0]["attributes"]["RecordName"], Json::parse(R"(["user1", "user1-1"])"));
  EXPECT_EQ(records[1]["attributes"]["FullName"], "User6");
  EXPECT_EQ(records[1]["password"], "");
  EXPECT_FALSE(records[0].contains("password"));
}

}  // namespace
}  // namespace gatehall
