#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/platform/AttributeKinds.h"
#include "world/file/WorldFile.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kWholeWorld = R"({
  // A machine with everything that a world file can hold.
  "now": "2026-11-21T09:00:00Z",
  "process": { "effectiveUserID": 1000 },
  "directory": {
    "available": true,
    "localNode": "local",
    "searchNode": {
      "name": "search",
      "covers": ["local", "unix", "ldap/ldap.example.org"],
      "unreachable": ["ldap/ldap.example.org"]
    },
    "nodes": [
      { "name": "local", "records": [
        { "type": "Users",
          "attributes": { "RecordName": ["ann", "annie"], "UniqueID": 1001, "FullName": "Ann Lee",
                          "GUID": ["6C6B2F1E-0000-4000-8000-000000001001"] },
          "password": "",
          "policy": { "maxFailedLoginAttempts": 3 } },
        { "type": "Groups",
          "attributes": { "RecordName": ["admin"], "GUID": ["6C6B2F1E-0000-4000-8000-00000000A001"],
                          "GroupMembership": ["ann"], "NestedGroups": [] } }
      ] },
      { "name": "unix" },
      { "name": "ldap/ldap.example.org", "records": [] }
    ]
  },
  "sessions": {
    "current": 1,
    "list": [ { "id": 1, "userID": 1000, "userName": "bob", "loginDone": true } ]
  },
  "membership": {
    "gatehall": { "members": ["6C6B2F1E-0000-4000-8000-000000001001", 1002] },
    "broken": { "status": 7 }
  },
  "parentalControls": { "1001": { "allowed": false, "result": 3, "nextCurfew": "2026-11-21T20:00:00Z" } },
  "preferences": { "com.orvane.gatehall": { "user": {}, "system": { "Hide500Users": true } } },
  "managed": { "com.orvane.gatehall": { "DenyList": ["*"], "Since": {"$date": "2026-01-01T00:00:00Z"},
                                        "Key": {"$data": "aGVsbG8="} } },
  "faults": [
    { "operation": "verifyPassword", "call": 1, "raise": "platform", "where": { "user": 1001 } },
    { "operation": "queryResults", "raise": "other" },
    { "operation": "localNode", "absent": true }
  ]
})";

std::shared_ptr<World> wholeWorld() { return worldFromText(kWholeWorld, "whole.json"); }

TEST(WorldFile, SetsTheClockAndWhoRunsTheProgram) {
  const auto world = wholeWorld();
  EXPECT_EQ(world->clock().now(), Date(std::chrono::seconds(1'795'251'600)));
  EXPECT_EQ(world->process().effectiveUserID(), 1000U);
}

TEST(WorldFile, DescribesTheDirectory) {
  const auto world = wholeWorld();
  const auto session = world->directory().defaultSession();
  const auto search = session->nodeByType(NodeType::Search);
  EXPECT_THAT(*search->subnodeNames(), ElementsAre("local", "unix", "ldap/ldap.example.org"));
  EXPECT_THAT(*search->unreachableSubnodeNames(), ElementsAre("ldap/ldap.example.org"));
  EXPECT_EQ(session->nodeByName("ldap/ldap.example.org"), nullptr);
  EXPECT_NE(session->nodeByName("unix"), nullptr);

  const auto ann =
      session->nodeByType(NodeType::Local)->recordByTypeAndName(record::Users, "annie", {});
  ASSERT_NE(ann, nullptr);
  EXPECT_EQ(ann->recordDetails({}),
            (Dictionary{{"FullName", Strings{"Ann Lee"}},
                        {"GUID", Strings{"6C6B2F1E-0000-4000-8000-000000001001"}},
                        {"MetaNodeLocation", Strings{"local"}},
                        {"RecordName", Strings{"ann", "annie"}},
                        {"UniqueID", Strings{"1001"}}}));
  EXPECT_EQ(ann->passwordPolicy(), (Dictionary{{"maxFailedLoginAttempts", 3}}));
  DirectoryError error;
  EXPECT_TRUE(ann->verifyPassword("", error));
}

std::string search(const std::string& covers, const std::string& unreachable = "") {
  return R"({"directory": {"localNode": "local", "nodes": [
      {"name": "local", "records": [{"type": "Users"}]}, {"name": "unix", "records": [{"type": "Users"}]}, {"name": "empty"},
      {"name": "ldap/x", "records": [{"type": "Groups"}]}],
"searchNode": {"name": "search", "covers": [)" +
         covers + R"(], "unreachable": [)" + unreachable + "]}}}";
}

TEST(WorldFile, TakesASearchNodeThatKeepsTheFirstTwoPlacesFreeOfNetworkNodes) {
  for (const auto* covers :
       {R"("local", "unix", "ldap/x")", R"("unix", "local", "ldap/x", "ldap/x")",
        R"("local", "nowhere", "ldap/x")", R"("local", "empty", "ldap/x")",
        R"("local", "local", "ldap/x")", R"("local", "unix")", R"("local")", ""}) {
    EXPECT_NO_THROW(worldFromText(search(covers, R"("ldap/x", "local")"), "w.json")) << covers;
  }
  // The local node, which can't be opened, stands first.
  EXPECT_NO_THROW(worldFromText(
      R"({"directory": {"searchNode": {"name": "search", "covers": ["local", "unix"]},
          "nodes": [{"name": "local", "records": [{"type": "Users"}]}]}})",
      "w.json"));
}

TEST(WorldFile, DescribesSessions) {
  const auto world = wholeWorld();
  const Dictionary bob = {{"kVXSSessionIDKey", 1},
                          {"kVXSSessionUserIDKey", 1000},
                          {"kVXSSessionUserNameKey", "bob"},
                          {"kVXSessionLoginDoneKey", true}};
  EXPECT_EQ(world->sessions().copyCurrentSession(), bob);
  EXPECT_THAT(*world->sessions().copySessionList(), ElementsAre(bob));
}

TEST(WorldFile, DescribesAccessLists) {
  const auto world = wholeWorld();
  auto& membership = world->membership();
  bool isMember = false;
  for (const std::uint32_t userID : {1001U, 1002U}) {
    Identifier identifier{};
    membership.userIDToIdentifier(userID, identifier);
    EXPECT_EQ(membership.checkServiceMembership(identifier, "gatehall", isMember), 0);
    EXPECT_TRUE(isMember) << userID;
  }
  EXPECT_EQ(membership.checkServiceMembership({}, "broken", isMember), 7);
  EXPECT_EQ(membership.checkServiceMembership({}, "other", isMember),
            MembershipService::kNoAccessList);
}

TEST(WorldFile, DescribesParentalControls) {
  const auto world = wholeWorld();
  std::int32_t result = 0;
  std::optional<Date> curfew;
  EXPECT_FALSE(world->parentalControls().mayLogInNow(1001, result, curfew));
  EXPECT_EQ(result, 3);
  EXPECT_EQ(curfew, Date(std::chrono::seconds(1'795'291'200)));
  curfew.reset();
  EXPECT_TRUE(world->parentalControls().mayLogInNow(1002, result, curfew));
  EXPECT_FALSE(curfew);
}

TEST(WorldFile, DescribesPreferencesAndManagedFiles) {
  const auto world = wholeWorld();
  bool exists = false;
  EXPECT_TRUE(
      world->preferences().applicationBoolean("Hide500Users", "com.orvane.gatehall", exists));
  EXPECT_TRUE(exists);
  auto& files = world->propertyLists();
  EXPECT_EQ(files.readPropertyList("/Library/Managed Preferences/com.orvane.gatehall.plist"),
            (Dictionary{{"DenyList", Array{"*"}},
                        {"Since", Date(std::chrono::seconds(1'767'225'600))},
                        {"Key", Data{'h', 'e', 'l', 'l', 'o'}}}));
  EXPECT_FALSE(files.readPropertyList("/Library/Managed Preferences/com.orvane.Tavlo.plist"));
}

TEST(WorldFile, ListsFaultsForWhoeverInstallsTheWorld) {
  const auto faults = wholeWorld()->faults();
  ASSERT_EQ(faults.size(), 3U);
  EXPECT_EQ(faults[0].operation, "verifyPassword");
  EXPECT_EQ(faults[0].kind, Fault::Kind::PlatformException);
  EXPECT_EQ(faults[0].call, 1U);
  EXPECT_EQ(faults[0].where.user, "1001");
  EXPECT_EQ(faults[1].kind, Fault::Kind::OtherException);
  EXPECT_FALSE(faults[1].call);
  // Opening the local node can be named by what is opened.
  EXPECT_EQ(faults[2].operation, "nodeByType");
  EXPECT_EQ(faults[2].kind, Fault::Kind::Absent);
  EXPECT_EQ(faults[2].where.node, "local");
}

TEST(WorldFile, IsEmptyWhereASectionIsLeftOut) {
  const auto world = worldFromText("{}", "empty.json");
  EXPECT_EQ(world->clock().now(), Date(std::chrono::seconds(1'767'225'600)));
  EXPECT_EQ(world->process().effectiveUserID(), 0U);
  const auto session = world->directory().defaultSession();
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->nodeByType(NodeType::Local), nullptr);
  EXPECT_EQ(session->nodeByType(NodeType::Search), nullptr);
  EXPECT_FALSE(world->sessions().copyCurrentSession());
  EXPECT_THAT(*world->sessions().copySessionList(), IsEmpty());
  EXPECT_FALSE(world->preferences().copyApplicationValue("AllowList", "com.orvane.gatehall"));
  EXPECT_THAT(world->faults(), IsEmpty());
}

TEST(WorldFile, SaysWhatThereIsNotWithNullAndFalse) {
  const auto world = worldFromText(
      R"({"directory": {"localNode": null, "searchNode": null, "nodes": [{"name": "local"}]},
          "sessions": {"current": null, "list": null}})",
      "none.json");
  const auto session = world->directory().defaultSession();
  EXPECT_EQ(session->nodeByType(NodeType::Local), nullptr);
  EXPECT_EQ(session->nodeByType(NodeType::Search), nullptr);
  EXPECT_NE(session->nodeByName("local"), nullptr);
  EXPECT_FALSE(world->sessions().copyCurrentSession());
  EXPECT_FALSE(world->sessions().copySessionList());
  EXPECT_EQ(worldFromText(R"({"directory": {"available": false}})", "away.json")
                ->directory()
                .defaultSession(),
            nullptr);
}

TEST(WorldFile, TakesACurrentSessionThatIsNotInTheListAndEntriesThatWentAway) {
  const auto world = worldFromText(
      R"({"sessions": {"current": {"userID": -2}, "list": [null, {"id": 7}]}})", "odd.json");
  EXPECT_EQ(world->sessions().copyCurrentSession(), (Dictionary{{"kVXSSessionUserIDKey", -2}}));
  EXPECT_THAT(*world->sessions().copySessionList(),
              ElementsAre(std::nullopt, Dictionary{{"kVXSSessionIDKey", 7}}));
}

TEST(WorldFile, KeepsAMetaNodeLocationAndAnAttributeWithoutValues) {
  const auto world = worldFromText(
      R"({"directory": {"nodes": [{"name": "local", "records": [{"type": "Groups", "attributes":
          {"RecordName": "staff", "MetaNodeLocation": "elsewhere", "NestedGroups": []}}]}]}})",
      "group.json");
  const auto staff = world->directory().node("local")->record("Groups", "staff");
  EXPECT_EQ(staff->valuesForAttribute("MetaNodeLocation"), Strings{"elsewhere"});
  EXPECT_EQ(staff->valuesForAttribute("NestedGroups"), Strings());
  EXPECT_FALSE(staff->valuesForAttribute("GroupMembers"));
}

TEST(WorldFile, ReadsAFileAndNamesOneThatCannotBeRead) {
  EXPECT_THAT(
      [] { worldFromFile("/nonexistent/world.json"); },
      testing::ThrowsMessage<WorldError>("/nonexistent/world.json: No such file or directory"));
  EXPECT_THAT([] { worldFromFile("/"); }, testing::ThrowsMessage<WorldError>("/: Is a directory"));
}

struct Refusal {
  const char* name;
  std::string text;
  std::string message;
};

void PrintTo(const Refusal& refusal, std::ostream* out) { *out << refusal.text; }

class RefusedWorldFile : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedWorldFile, NamesTheFileThePlaceAndTheReason) {
  EXPECT_THAT([] { worldFromText(GetParam().text, "w.json"); },
              testing::ThrowsMessage<WorldError>(GetParam().message));
}

std::string user(const std::string& attributes) {
  return R"({"directory": {"nodes": [{"name": "local", "records": [
{"type": "Users", "attributes": )" +
         attributes + "}]}]}}";
}

const Refusal kRefusals[] = {
    {"Empty", "",
     "w.json:1:1: syntax error while parsing value - unexpected end of input; expected '[', '{', "
     "or a literal"},
    {"Syntax", "{\n  \"now\" 1\n}",
     "w.json:2:9: syntax error while parsing object separator - unexpected number literal; "
     "expected ':'"},
    {"HugeNumber", "{\"now\": 1e999}", "w.json:1:13: number overflow parsing '1e999'"},
    {"NoObject", "[]", "w.json:1:1: expected an object"},
    {"TooDeep", std::string(65, '['), "w.json:1:65: nested too deep"},
    {"RepeatedKey", "{\"now\": \"2026-01-01T00:00:00Z\",\n \"now\": \"2026-01-01T00:00:00Z\"}",
     "w.json:2:2: the key \"now\" is given twice"},
    {"UnknownKey", "{ // a comment\n  \"process\": {\"effectiveUserId\": 0}\n}",
     "w.json:2:15: /process/effectiveUserId: unknown key; known are effectiveUserID"},
    {"UnknownSection", "{\"a/b~c\": 1}",
     "w.json:1:2: /a~1b~0c: unknown key; known are now, locale, process, directory, sessions, "
     "membership, "
     "parentalControls, preferences, managed, faults"},
    {"WrongType", "{\"now\": 5}", "w.json:1:9: /now: expected a string"},
    {"BadDate", "{\"now\": \"yesterday\"}",
     "w.json:1:9: /now: expected a date such as 2026-11-21T09:00:00Z"},
    {"NegativeUserID", "{\"process\": {\"effectiveUserID\": -1}}",
     "w.json:1:33: /process/effectiveUserID: expected a whole number from 0 to 4294967295"},
    {"RealUserID", "{\"process\": {\"effectiveUserID\": 1.5}}",
     "w.json:1:33: /process/effectiveUserID: expected a whole number from 0 to 4294967295"},
    {"UniqueIDTooLarge", user(R"({"RecordName": "ann", "UniqueID": ["1", "4294967296"]})"),
     "w.json:2:73: /directory/nodes/0/records/0/attributes/UniqueID/1: expected a decimal number "
     "from 0 to 4294967295"},
    {"UniqueIDNotDecimal", user(R"({"UniqueID": "0x10"})"),
     "w.json:2:46: /directory/nodes/0/records/0/attributes/UniqueID: expected a decimal number "
     "from 0 to 4294967295"},
    {"PrimaryGroupIDNegative", user(R"({"PrimaryGroupID": -1})"),
     "w.json:2:52: /directory/nodes/0/records/0/attributes/PrimaryGroupID: expected a decimal "
     "number from 0 to 4294967295"},
    {"AttributeNotText", user(R"({"FullName": [true]})"),
     "w.json:2:47: /directory/nodes/0/records/0/attributes/FullName/0: expected a string, a number "
     "or a list of them"},
    {"AttributeTwice", user(R"({"FullName": "a", "lxAttrTypeStandard:FullName": "b"})"),
     "w.json:2:82: /directory/nodes/0/records/0/attributes/lxAttrTypeStandard:FullName: the "
     "attribute \"FullName\" is given twice"},
    {"RecordType", R"({"directory": {"nodes": [{"name": "a", "records": [{"type": "User"}]}]}})",
     "w.json:1:61: /directory/nodes/0/records/0/type: expected \"Users\" or \"Groups\""},
    {"RecordWithoutType", R"({"directory": {"nodes": [{"name": "a", "records": [{}]}]}})",
     "w.json:1:52: /directory/nodes/0/records/0: a record needs a \"type\""},
    {"UnknownPolicy",
     R"({"directory": {"nodes": [{"name": "a", "records": [{"type": "Users", "policy": {"max": 1}}]}]}})",
     "w.json:1:81: /directory/nodes/0/records/0/policy/max: unknown key; known are "
     "newPasswordRequired, usingExpirationDate, usingHardExpirationDate, canModifyPasswordforSelf, "
     "maxMinutesUntilChangePassword, maxMinutesUntilDisabled, maxMinutesOfNonUse, "
     "maxFailedLoginAttempts, passwordLastSetTime"},
    {"NodeTwice", R"({"directory": {"nodes": [{"name": "a"}, {"name": "a"}]}})",
     "w.json:1:50: /directory/nodes/1/name: there is another node of that name"},
    {"NodeNamedAsSearchNode",
     R"({"directory": {"searchNode": {"name": "a"}, "nodes": [{"name": "a"}]}})",
     "w.json:1:64: /directory/nodes/0/name: there is another node of that name"},
    {"NodeWithoutName", R"({"directory": {"nodes": [{}]}})",
     "w.json:1:26: /directory/nodes/0: a node needs a \"name\""},
    {"NodeWithEmptyName", R"({"directory": {"nodes": [{"name": ""}]}})",
     "w.json:1:35: /directory/nodes/0/name: expected a string that is not empty"},
    {"NetworkNodeSecond", search(R"("local", "ldap/x")"),
     "w.json:4:54: /directory/searchNode/covers/1: \"ldap/x\" would be passed over here: network "
     "nodes come third and later, after the local node and \"unix\""},
    {"NetworkNodeFirst", search(R"("ldap/x", "local", "ldap/x")"),
     "w.json:4:45: /directory/searchNode/covers/0: \"ldap/x\" would be passed over here: network "
     "nodes come third and later, after the local node and \"unix\""},
    {"UnreachableNodeSecond", search(R"("local", "ldap/y")", R"("ldap/y")"),
     "w.json:4:54: /directory/searchNode/covers/1: \"ldap/y\" would be passed over here: network "
     "nodes come third and later, after the local node and \"unix\""},
    {"NetworkNodeSecondWithoutALocalOne",
     R"({"directory": {"searchNode": {"name": "search", "covers": ["local", "ldap/x"]},
"nodes": [{"name": "ldap/x", "records": [{"type": "Users"}]}]}})",
     "w.json:1:69: /directory/searchNode/covers/1: \"ldap/x\" would be passed over here: network "
     "nodes come third and later, after the local node and \"unix\""},
    {"CurrentNotInList", R"({"sessions": {"list": [{"id": 1}], "current": 2}})",
     "w.json:1:47: /sessions/current: no session of the list has the id 2"},
    {"SessionUserID", R"({"sessions": {"list": [{"userID": 2147483648}]}})",
     "w.json:1:35: /sessions/list/0/userID: expected a whole number from -2147483648 to "
     "2147483647"},
    {"MemberGUID", R"({"membership": {"gatehall": {"members": ["ann"]}}})",
     "w.json:1:42: /membership/gatehall/members/0: expected a GUID or a user id"},
    {"MemberID", R"({"membership": {"gatehall": {"members": [-5]}}})",
     "w.json:1:42: /membership/gatehall/members/0: expected a whole number from 0 to 4294967295"},
    {"LimitOfNobody", R"({"parentalControls": {"ann": {"allowed": true}}})",
     "w.json:1:30: /parentalControls/ann: \"ann\" is no user id"},
    {"LimitWithZeros", R"({"parentalControls": {"01001": {}}})",
     "w.json:1:32: /parentalControls/01001: \"01001\" is no user id"},
    {"NullPreference", R"({"preferences": {"d": {"user": {"AllowList": null}}}})",
     "w.json:1:46: /preferences/d/user/AllowList: there is no such value as null; leave the key "
     "out"},
    {"NumberBeyond64Bits", R"({"managed": {"d": {"n": 9223372036854775808}}})",
     "w.json:1:25: /managed/d/n: a whole number beyond 64 bits"},
    {"BadBase64", R"({"managed": {"d": {"k": {"$data": "?"}}}})",
     "w.json:1:35: /managed/d/k/$data: expected bytes in base64"},
    {"DateBesideOtherKeys", R"({"managed": {"d": {"$date": "2026-01-01T00:00:00Z", "x": 1}}})",
     "w.json:1:53: /managed/d/x: unknown key; known are $date"},
    {"UnknownOperation", R"({"faults": [{"operation": "reboot", "absent": true}]})",
     "w.json:1:27: /faults/0/operation: unknown operation"},
    {"FaultWithoutEffect", R"({"faults": [{"operation": "query"}]})",
     "w.json:1:13: /faults/0: a fault needs either \"raise\" or \"absent\""},
    {"FaultRaises", R"({"faults": [{"operation": "query", "raise": "hell"}]})",
     "w.json:1:45: /faults/0/raise: expected \"platform\" or \"other\""},
    {"FaultCallZero", R"({"faults": [{"operation": "query", "absent": true, "call": 0}]})",
     "w.json:1:60: /faults/0/call: expected a whole number from 1 to 9223372036854775807"},
    {"EscapedQuotes", R"({"managed": {"d": {"a\\\"b": null}}})",
     "w.json:1:30: /managed/d/a\\\"b: there is no such value as null; leave the key out"},
};

INSTANTIATE_TEST_SUITE_P(EveryReason, RefusedWorldFile, testing::ValuesIn(kRefusals),
                         [](const auto& refusal) { return refusal.param.name; });

/// Everything that is wrong in a text, "line:column path: what".
Strings faultsOf(std::string_view json) {
  std::vector<JsonFault> faults;
  const JsonSource source{"faulty.json", json, &faults};
  source.attempt([&] {
    const auto tree = parseJson(source);
    worldFromJson({source, tree});
  });
  Strings texts;
  for (const auto& fault : faults) {
    const auto [line, column] = source.placeOf(fault.offset);
    texts.push_back(std::to_string(line) + ":" + std::to_string(column) + " " + fault.path + ": " +
                    fault.what);
  }
  return texts;
}

TEST(WorldFile, TellsOfEverythingThatIsWrongWhereFaultsAreCollected) {
  EXPECT_THAT(
      faultsOf(R"({
  "now": "today", "then": 1, "now": 2,
  "directory": {
    "available": "yes", "searchNode": { "name": "", "covers": [1, "b"], "unreachable": 2 },
    "nodes": [
      { "name": "a" },
      { "name": "a", "records": [ { "type": "Machines", "attributes": { "UniqueID": "x" } }, 4 ] },
      { "record": [] }
    ] },
  "sessions": { "current": 3, "list": [ { "id": "one", "userID": "ann", "loginDone": 1 } ] },
  "membership": { "gatehall": { "status": "bad", "members": ["ann", 1.5] } },
  "parentalControls": { "01": {}, "1": { "allowed": 0, "result": "no", "nextCurfew": 1 } },
  "managed": { "com.orvane.gatehall": { "AllowList": [null], "DenyList": null } },
  "faults": [ { "operation": "none" }, { "raise": "other" } ]
})"),
      ElementsAre("2:30 : the key \"now\" is given twice",                                //
                  "2:19 /then: unknown key; known are now, locale, process, directory, "  //
                  "sessions, membership, parentalControls, preferences, managed, faults",
                  "2:10 /now: expected a date such as 2026-11-21T09:00:00Z",
                  "4:18 /directory/available: expected true or false",
                  "4:64 /directory/searchNode/covers/0: expected a string",
                  "4:49 /directory/searchNode/name: expected a string that is not empty",
                  "4:88 /directory/searchNode/unreachable: expected a list",
                  "7:17 /directory/nodes/1/name: there is another node of that name",
                  "7:45 /directory/nodes/1/records/0/type: expected \"Users\" or \"Groups\"",
                  "7:85 /directory/nodes/1/records/0/attributes/UniqueID: expected a "
                  "decimal number from 0 to 4294967295",
                  "7:94 /directory/nodes/1/records/1: expected an object",
                  "8:9 /directory/nodes/2/record: unknown key; known are name, records, server, "
                  "tls, whenAway, away",
                  "8:7 /directory/nodes/2: a node needs a \"name\"",
                  "10:49 /sessions/list/0/id: expected a whole number from "
                  "-9223372036854775808 to 9223372036854775807",
                  "10:66 /sessions/list/0/userID: expected a whole number from "
                  "-2147483648 to 2147483647",
                  "10:86 /sessions/list/0/loginDone: expected true or false",
                  "10:28 /sessions/current: no session of the list has the id 3",
                  "11:43 /membership/gatehall/status: expected a whole number from "
                  "-2147483648 to 2147483647",
                  "11:62 /membership/gatehall/members/0: expected a GUID or a user id",
                  "11:69 /membership/gatehall/members/1: expected a string",
                  "12:31 /parentalControls/01: \"01\" is no user id",
                  "12:53 /parentalControls/1/allowed: expected true or false",
                  "12:66 /parentalControls/1/result: expected a whole number from "
                  "-2147483648 to 2147483647",
                  "12:86 /parentalControls/1/nextCurfew: expected a string",
                  "13:55 /managed/com.orvane.gatehall/AllowList/0: there is no such value "
                  "as null; leave the key out",
                  "13:74 /managed/com.orvane.gatehall/DenyList: there is no such value as "
                  "null; leave the key out",
                  "14:30 /faults/0/operation: unknown operation",
                  "14:40 /faults/1: a fault needs an \"operation\""));
}

TEST(WorldFile, ThatIsNoJsonIsWrongInOnePlace) {
  const auto faults = faultsOf("{ \"now\": }");
  ASSERT_EQ(faults.size(), 1U);
  EXPECT_TRUE(faults.front().starts_with("1:10 : ")) << faults.front();
}

}  // namespace
}  // namespace gatehall
