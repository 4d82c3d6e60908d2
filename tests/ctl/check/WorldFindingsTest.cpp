#include <gmock/gmock.h>

#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What is found in the world, "SEVERITY LINE:COLUMN PATH TEXT" each.
Strings findingsIn(std::string_view world) {
  const auto document = documentOf(runIn(world, {"--json", "check"}));
  Strings texts;
  for (const auto& each : document["findings"]) {
    EXPECT_TRUE(each["remedy"].is_string()) << each;
    texts.push_back(each["severity"].get<std::string>() + " " + each["line"].dump() + ":" +
                    each["column"].dump() + " " +
                    (each["path"].is_string() ? each["path"].get<std::string>() : "-") + " " +
                    each["text"].get<std::string>());
  }
  return texts;
}

TEST(WorldFindings, AreNoneOfACleanWorld) {
  const auto outcome = runIn(household(), {"check"});
  EXPECT_EQ(outcome.output, "nothing is wrong\n");
  EXPECT_EQ(outcome.status, ctl::ExitStatus::Done);
}

TEST(WorldFindings, AreEverythingThatAWorldIsRefusedFor) {
  EXPECT_THAT(findingsIn("{ \"now\": 1,\n\"direktory\": {},\n\"sessions\": { \"current\": 7 } }"),
              ElementsAre("error 1:10 /now expected a string",
                          "error 2:1 /direktory \"direktory\" is no key that may stand here",
                          "error 3:26 /sessions/current no session of the list has the id 7"));
  const auto outcome = runIn("{ \"direktory\": {} }", {"--json", "check"});
  EXPECT_EQ(outcome.status, ctl::ExitStatus::WrongUsage);
  EXPECT_EQ(documentOf(outcome)["findings"][0]["remedy"],
            "Did you mean \"directory\"? Else leave it out.");
  EXPECT_EQ(documentOf(runIn("{ \"bogus\": 1 }", {"--json", "check"}))["findings"][0]["remedy"],
            "Leave it out.")
      << "nothing comes near";
  EXPECT_THAT(findingsIn("{"), testing::SizeIs(1));
}

TEST(WorldFindings, AreRecordsThatShareWhatIsTheirs) {
  EXPECT_THAT(findingsIn(R"({ "directory": { "localNode": "local", "nodes": [
    { "name": "local", "records": [
      { "type": "Users", "attributes": { "RecordName": "ann", "UniqueID": 1000,
          "GUID": "00000000-0000-4000-8000-000000001000" } },
      { "type": "Users", "attributes": { "RecordName": ["al", "ann"], "UniqueID": "1000",
          "GUID": "00000000-0000-4000-8000-000000001000" } },
      { "type": "Groups", "attributes": { "RecordName": "ann", "PrimaryGroupID": 5,
          "GUID": "no GUID" } },
      { "type": "Groups", "attributes": { "RecordName": "ann", "PrimaryGroupID": 5 } } ] } ] } })"),
              ElementsAre("warning 5:63 /directory/nodes/0/records/1/attributes/RecordName/1 the "
                          "login name ann stands in line 3 as well",
                          "warning 5:83 /directory/nodes/0/records/1/attributes/UniqueID the user "
                          "id 1000 stands in line 3 as well",
                          "warning 6:19 /directory/nodes/0/records/1/attributes/GUID the GUID "
                          "00000000-0000-4000-8000-000000001000 stands in line 4 as well",
                          "error 8:19 /directory/nodes/0/records/2/attributes/GUID \"no GUID\" is "
                          "no GUID",
                          "warning 9:57 /directory/nodes/0/records/3/attributes/RecordName the "
                          "group's name ann stands in line 7 as well",
                          "warning 9:82 /directory/nodes/0/records/3/attributes/PrimaryGroupID the "
                          "group id 5 stands in line 7 as well"));
}

TEST(WorldFindings, AreNotAMobileAccountAndItsOriginal) {
  EXPECT_THAT(findingsIn(R"({ "directory": { "nodes": [
    { "name": "local", "records": [
      { "type": "Users", "attributes": { "RecordName": "erin", "UniqueID": 5000,
          "OriginalNodeName": "ldap/school" } } ] },
    { "name": "ldap/school", "records": [
      { "type": "Users", "attributes": { "RecordName": "erin", "UniqueID": 5000 } } ] } ] } })"),
              IsEmpty());
}

TEST(WorldFindings, AreAttributesOfNoKindAndMembersWhoAreNobody) {
  EXPECT_THAT(findingsIn(R"({ "directory": { "nodes": [ { "name": "local", "records": [
      { "type": "Users", "attributes": { "RecordName": "ann", "FulName": "Ann",
          "lxAttrTypeNative:anything": "x", "lxAttrTypeStandard:Picture": "p" } },
      { "type": "Groups", "attributes": { "RecordName": "staff",
          "GroupMembership": ["ann", "bob"],
          "NestedGroups": ["00000000-0000-4000-8000-00000000DEAD"] } } ] } ] } })"),
              ElementsAre("warning 2:74 /directory/nodes/0/records/0/attributes/FulName "
                          "\"FulName\" is no kind of attribute that anybody asks for",
                          "warning 5:38 /directory/nodes/0/records/1/attributes/GroupMembership/1 "
                          "\"bob\" is nobody's login name",
                          "warning 6:28 /directory/nodes/0/records/1/attributes/NestedGroups/0 "
                          "\"00000000-0000-4000-8000-00000000DEAD\" names nobody"));
}

TEST(WorldFindings, AreNoneOfGUIDsInTheOtherCase) {
  const auto findings = findingsIn(R"({ "directory": { "localNode": "local", "nodes": [
    { "name": "local", "records": [
      { "type": "Users", "attributes": { "RecordName": "ann", "UniqueID": 1000,
          "GUID": "00000000-0000-4000-8000-00000000000a" } },
      { "type": "Users", "attributes": { "RecordName": "al", "UniqueID": 1001,
          "GUID": "00000000-0000-4000-8000-00000000000A" } },
      { "type": "Groups", "attributes": { "RecordName": "some",
          "GroupMembers": "00000000-0000-4000-8000-00000000000A" } } ] } ] },
    "membership": { "gatehall": { "members": ["00000000-0000-4000-8000-00000000000A"] } } })");
  EXPECT_THAT(findings, ElementsAre("warning 6:19 /directory/nodes/0/records/1/attributes/GUID the "
                                    "GUID 00000000-0000-4000-8000-00000000000A stands in line 4 as "
                                    "well"));
}

TEST(WorldFindings, AreNodesThatAreNone) {
  EXPECT_THAT(findingsIn(R"({ "directory": { "localNode": "locl",
    "searchNode": { "name": "search", "covers": ["local", "ldap/a"], "unreachable": ["ldap/b"] },
    "nodes": [ { "name": "local" } ] } })"),
              ElementsAre("warning 1:31 /directory/localNode there is no node \"locl\"",
                          "warning 2:59 /directory/searchNode/covers/1 there is no node \"ldap/a\"",
                          "warning 2:86 /directory/searchNode/unreachable/0 there is no node "
                          "\"ldap/b\""));
}

TEST(WorldFindings, AreSessionsListsAndLimitsOfNobody) {
  EXPECT_THAT(findingsIn(R"({ "sessions": { "list": [ { "id": 1 }, { "id": 1 } ] },
    "membership": { "gatehall": { "members": [] }, "other": { "members": [1000] } },
    "parentalControls": { "1000": { "allowed": false } } })"),
              ElementsAre("error 1:48 /sessions/list/1/id there is another session 1",
                          "error 2:46 /membership/gatehall/members the access list has no members, "
                          "so that nobody may log in",
                          "warning 2:75 /membership/other/members/0 \"1000\" is nobody's user id",
                          "warning 3:35 /parentalControls/1000 \"1000\" is nobody's user id"));
}

TEST(WorldFindings, AreSettingsThatNobodyReadsOrUnderstands) {
  EXPECT_THAT(
      findingsIn(R"({ "managed": { "com.orvane.gatehal": {},
      "com.orvane.gatehall": { "DenyLst": [], "Hide500Users": "perhaps" } },
    "preferences": { "com.orvane.gatehall": { "system": { "Colour": "red" } } } })"),
      ElementsAre("warning 1:38 /managed/com.orvane.gatehal nobody reads settings of "
                  "\"com.orvane.gatehal\"",
                  "error 2:43 /managed/com.orvane.gatehall/DenyLst DenyLst: it is no setting; did "
                  "you mean DenyList?",
                  "error 2:63 /managed/com.orvane.gatehall/Hide500Users Hide500Users: it is no "
                  "boolean",
                  testing::StartsWith("warning 3:69 /preferences/com.orvane.gatehall/system/Colour "
                                      "Colour: it is no setting; did you mean ")));
}

TEST(WorldFindings, AreListsThatWillSurprise) {
  EXPECT_THAT(findingsIn(household(R"(,
    "managed": { "com.orvane.gatehall": {
      "AllowList": ["00000000-0000-4000-8000-000000001001",
                    "00000000-0000-4000-8000-00000000DEAD"] } })")),
              ElementsAre("warning 19:20 /managed/com.orvane.gatehall/AllowList AllowList without "
                          "StrictAllowList admits everybody once it names nobody who is known",
                          "warning 20:21 /managed/com.orvane.gatehall/AllowList/1 AllowList: entry "
                          "2, 00000000-0000-4000-8000-00000000DEAD, names nobody"));
}

TEST(WorldFindings, AreOneOfAMistakeAndNameAFileOnce) {
  EXPECT_THAT(
      findingsIn(R"({ "membership": { "gatehall": { "members": ["x"] } } })"),
      ElementsAre("error 1:45 /membership/gatehall/members/0 expected a GUID or a user id"));
  const auto missing = documentOf(run({"--json", "check", "/nowhere/a.world.json"}));
  EXPECT_EQ(missing["findings"][0]["text"], "No such file or directory");
  EXPECT_EQ(missing["findings"][0]["file"], "/nowhere/a.world.json");
}

TEST(WorldFindings, AreNoneOfAnEmptyAccessListWhoseQuestionFails) {
  const auto with = [](const std::string& more) {
    return findingsIn(R"({ "membership": { "gatehall": { "members": [])" + more + " } } }");
  };
  EXPECT_THAT(with(""), testing::SizeIs(1));
  EXPECT_THAT(with(R"(, "status": 0)"), testing::SizeIs(1));
  EXPECT_THAT(with(R"(, "status": 4)"), IsEmpty());
}

TEST(WorldFindings, AreAPolicyThatShutsOutEveryAdministrator) {
  const auto outcome = runIn(household(R"(, "membership": { "gatehall": { "members": [1001] } })"),
                             {"--json", "check"});
  const auto findings = documentOf(outcome)["findings"];
  ASSERT_EQ(findings.size(), 1U) << findings;
  EXPECT_EQ(findings[0]["text"], "every administrator is shut out: ann (not in gatehall-access)");
  EXPECT_THAT(findings[0]["remedy"].get<std::string>(),
              testing::HasSubstr("to /membership/gatehall/members;"));
}

TEST(WorldFindings, AreThoseOfEveryFileThatIsNamed) {
  const WorldFileOnDisk first("{ \"a\": 1 }");
  const WorldFileOnDisk second("{ \"b\": 1 }");
  const auto outcome = run({"--json", "check", first.path(), second.path(), "/nowhere.json"});
  const auto findings = documentOf(outcome)["findings"];
  ASSERT_EQ(findings.size(), 3U);
  EXPECT_EQ(findings[0]["file"], first.path());
  EXPECT_EQ(findings[1]["file"], second.path());
  EXPECT_EQ(findings[2]["file"], "/nowhere.json");
  EXPECT_EQ(run({"--root", "/", "check", first.path()}).status, ctl::ExitStatus::WrongUsage);
}

}  // namespace
}  // namespace gatehall
