#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "gatehall/platform/AttributeKinds.h"
#include "tests/world/SceneWorld.h"
#include "world/World.h"
#include "world/directory/WorldDirectory.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A machine with two network directories: dana is in the first one, erin in both, and locally too.
class Network : public testing::Test {
 protected:
  Network() {
    mDirectory.addNode("ldap/one")->addRecord(user("dana", "2001"));
    mDirectory.node("ldap/one")->addRecord(user("erin", "2002"));
    mDirectory.addNode("ldap/two")->addRecord(user("erin", "2003"));
    mDirectory.node("local")->addRecord(user("erin", "1003"));
    mDirectory.setSearchNode("search", {"local", "unix", "ldap/two", "ldap/one", "ldap/gone"});
  }

  static RecordDescription user(std::string name, std::string userID) {
    return {
        "Users", {{"RecordName", {std::move(name)}}, {"UniqueID", {std::move(userID)}}}, {}, {}};
  }

  std::shared_ptr<DirectoryNode> open(std::string_view name) {
    return mDirectory.defaultSession()->nodeByName(name);
  }

  /// The UniqueIDs of the users that a query on the node finds.
  Strings found(DirectoryNode& node, std::string_view kind, MatchType match, Strings values) {
    const auto records =
        node.query({{"Users"}, std::string(kind), match, std::move(values), {}, 0})->results(false);
    if (!records) return {"absent"};
    Strings ids;
    for (const auto& each : *records) ids.push_back(each->valuesForAttribute("UniqueID")->at(0));
    return ids;
  }
  Strings found(std::string_view kind, MatchType match, Strings values) {
    return found(*open("search"), kind, match, std::move(values));
  }
  Strings named(std::string name) {
    return found("RecordName", MatchType::EqualTo, {std::move(name)});
  }

  const std::shared_ptr<World> mWorld = sceneWorld();
  WorldDirectory& mDirectory = mWorld->directory();
};

TEST_F(Network, AnswersInTheOrderOfTheNodesCoveredThenOfTheRecords) {
  EXPECT_THAT(found("RecordName", MatchType::EqualTo, {"dana", "erin", "carol", "ann"}),
              ElementsAre("1000", "1002", "1003", "2003", "2001", "2002"));
}

TEST_F(Network, AnswersARecordOnceThoughItsNodeIsCoveredTwice) {
  mDirectory.setSearchNode("search", {"ldap/one", "local", "ldap/one"});
  EXPECT_THAT(named("dana"), ElementsAre("2001"));
}

TEST_F(Network, TakesNoRecordFromANodeThatCannotBeReached) {
  const auto opened = open("ldap/one");
  mDirectory.setReachable("ldap/one", false);
  EXPECT_EQ(open("ldap/one"), nullptr);
  EXPECT_THAT(named("dana"), IsEmpty());
  EXPECT_THAT(named("erin"), ElementsAre("1003", "2003"));
  EXPECT_THAT(*open("search")->unreachableSubnodeNames(), ElementsAre("ldap/one"));
  EXPECT_THAT(found(*opened, "RecordName", MatchType::EqualTo, {"dana"}), ElementsAre("absent"));
  EXPECT_EQ(opened->recordByTypeAndName("Users", "dana", {}), nullptr);

  mDirectory.setReachable("ldap/one", true);
  EXPECT_THAT(named("dana"), ElementsAre("2001"));
  EXPECT_THAT(*open("search")->unreachableSubnodeNames(), IsEmpty());
}

TEST_F(Network, OpensNoCoveredNodeThatDoesNotExist) {
  EXPECT_EQ(open("ldap/gone"), nullptr);
  EXPECT_THAT(*open("search")->subnodeNames(),
              ElementsAre("local", "unix", "ldap/two", "ldap/one", "ldap/gone"));
}

TEST_F(Network, AnswersNothingMoreOnceTheDirectoryIsAway) {
  const auto search = open("search");
  const auto ann = open("local")->recordByTypeAndName("Users", "ann", {});
  mDirectory.setAvailable(false);
  EXPECT_EQ(mDirectory.defaultSession(), nullptr);
  EXPECT_FALSE(search->subnodeNames());
  EXPECT_THAT(found(*search, "RecordName", MatchType::EqualTo, {"ann"}), ElementsAre("absent"));
  EXPECT_FALSE(ann->synchronize());
  EXPECT_EQ(ann->valuesForAttribute("RecordName"), Strings{"ann"});
}

TEST_F(Network, FindsEveryRecordUnderEveryMatchCodeByTheWordForAllOnly) {
  EXPECT_EQ(found("RecordName", MatchType::Contains, {"nobody", "lxRecordsAll"}).size(), 7U);
  EXPECT_THAT(found("RecordName", MatchType::EqualToIgnoringCase, {"LXRECORDSALL"}), IsEmpty());
  EXPECT_THAT(found("FullName", MatchType::EqualTo, {"lxRecordsAll"}), IsEmpty());
}

TEST_F(Network, IgnoresCaseInAnyScript) {
  auto asa = user("asa", "3000");
  asa.attributes.push_back({"FullName", {"Åsa Öst", "Ναύτης"}});
  mDirectory.node("ldap/two")->addRecord(asa);
  EXPECT_THAT(found("FullName", MatchType::EqualToIgnoringCase, {"ÅSA ÖST"}), ElementsAre("3000"));
  EXPECT_THAT(found("FullName", MatchType::ContainsIgnoringCase, {"ύΤΗΣ"}), ElementsAre("3000"));
  EXPECT_THAT(found("FullName", MatchType::Contains, {"öst"}), IsEmpty());
}

TEST_F(Network, BuildsNoQueryWithoutATypeOrAnAttribute) {
  EXPECT_EQ(open("search")->query({{}, "RecordName", MatchType::EqualTo, {"ann"}, {}, 0}), nullptr);
  EXPECT_EQ(open("search")->query({{"Users"}, "", MatchType::EqualTo, {"ann"}, {}, 0}), nullptr);
}

TEST_F(Network, KeepsItsIndexesRightThroughChanges) {
  EXPECT_THAT(named("ann"), ElementsAre("1000"));
  EXPECT_THAT(found("UniqueID", MatchType::EqualTo, {"1001"}), ElementsAre("1001"));

  const auto bob = mDirectory.node("local")->record("Users", "bob");
  bob->setValues("RecordName", {"ann", "ann", "bobby"});
  EXPECT_THAT(named("ann"), ElementsAre("1000", "1001"));
  EXPECT_THAT(named("bobby"), ElementsAre("1001"));
  EXPECT_THAT(named("bob"), IsEmpty());

  EXPECT_TRUE(bob->setValue("1", "lxAttrTypeStandard:UniqueID"));
  EXPECT_THAT(found("UniqueID", MatchType::EqualTo, {"1001", "1"}), ElementsAre("1"));

  mDirectory.node("local")->record("Users", "ann")->remove();
  EXPECT_THAT(named("ann"), ElementsAre("1"));
  mDirectory.node("local")->addRecord(user("ann", "4000"));
  EXPECT_THAT(named("ann"), ElementsAre("1", "4000"));

  bob->removeAttribute("RecordName");
  EXPECT_THAT(named("ann"), ElementsAre("4000"));
  EXPECT_THAT(found("UniqueID", MatchType::EqualTo, {"1"}), ElementsAre("1"));
}

TEST_F(Network, ShowsARecordAsItWasSeenUntilItIsSynchronized) {
  const auto seen = open("local")->recordByTypeAndName("Users", "ann", {});
  mDirectory.node("local")->record("Users", "ann")->setValues("FullName", {"Ann Moe"});
  EXPECT_EQ(seen->valuesForAttribute("FullName"), Strings{"Ann Lee"});
  EXPECT_TRUE(seen->synchronize());
  EXPECT_EQ(seen->valuesForAttribute("FullName"), Strings{"Ann Moe"});
}

TEST_F(Network, ShowsWhatWasWrittenThroughTheRecordAtOnce) {
  const auto ann = open("local")->recordByTypeAndName("Users", "ann", {});
  EXPECT_TRUE(ann->setValue("Try the dog's name", "AuthenticationHint"));
  EXPECT_EQ(ann->valuesForAttribute("AuthenticationHint"), Strings{"Try the dog's name"});
  EXPECT_EQ(found("AuthenticationHint", MatchType::Contains, {"dog"}), Strings{"1000"});
}

TEST_F(Network, KeepsARemovedRecordReadableButRefusesTheRest) {
  const auto carol = open("local")->recordByTypeAndName("Users", "carol", {});
  const auto admin = mDirectory.node("local")->record("Groups", "admin");
  mDirectory.node("local")->record("Users", "carol")->remove();
  admin->remove();
  DirectoryError error;
  EXPECT_EQ(carol->valuesForAttribute("UniqueID"), Strings{"1002"});
  EXPECT_FALSE(carol->synchronize());
  EXPECT_FALSE(carol->setValue("x", "FullName"));
  EXPECT_FALSE(carol->verifyPassword("carol's password", error));
  EXPECT_FALSE(carol->changePassword("carol's password", "new", error));
  EXPECT_FALSE(admin->isMember(*carol));
  admin->remove();
}

TEST_F(Network, KeepsRecordsReadableWhenTheWorldIsGone) {
  auto world = sceneWorld();
  const auto ann = world->directory().node("local")->record("Users", "ann");
  world.reset();
  EXPECT_EQ(ann->valuesForAttribute("FullName"), Strings{"Ann Lee"});
}

TEST_F(Network, ChangesPasswordsForWhoeverKnowsTheOldOne) {
  const auto bob = mDirectory.node("local")->record("Users", "bob");
  bob->setRefusal({std::string(kDirectoryErrorDomain), 5202});
  DirectoryError error;
  EXPECT_FALSE(bob->changePassword("wrong", "new", error));
  EXPECT_EQ(error.code, 5202);
  EXPECT_EQ(error.domain, kDirectoryErrorDomain);
  EXPECT_TRUE(bob->changePassword("", "new", error));
  EXPECT_TRUE(bob->verifyPassword("new", error));
  EXPECT_FALSE(bob->verifyPassword("", error));
}

TEST_F(Network, AcceptsNoPasswordForAnAccountThatHasNone) {
  const auto dana = mDirectory.node("ldap/one")->record("Users", "dana");
  DirectoryError error;
  EXPECT_FALSE(dana->verifyPassword("", error));
  EXPECT_FALSE(dana->changePassword("", "new", error));
  EXPECT_FALSE(error.domain);
  dana->setPassword("");
  EXPECT_TRUE(dana->verifyPassword("", error));
}

TEST_F(Network, RefusesATakenNodeName) {
  EXPECT_THROW(mDirectory.addNode("local"), std::invalid_argument);
  EXPECT_THROW(mDirectory.addNode("search"), std::invalid_argument);
  EXPECT_THROW(mDirectory.setSearchNode("local", {}), std::invalid_argument);
  EXPECT_THROW(mDirectory.node("nowhere"), std::out_of_range);
  EXPECT_THROW(mDirectory.node("local")->record("Users", "nobody"), std::out_of_range);
}

/// Groups by GUID "a", "b", …, each nesting the next one, the last one the first.
class NestedGroups : public Network {
 protected:
  NestedGroups() {
    mDirectory.node("local")->addRecord(group("a", {"b"}));
    mDirectory.node("ldap/one")->addRecord(group("b", {"c", "unknown"}));
    mDirectory.node("ldap/two")->addRecord(group("c", {"a"}));
  }

  static RecordDescription group(std::string name, Strings nested) {
    return {"Groups", {{"RecordName", {name}}, {"GUID", {name}}, {"NestedGroups", nested}}, {}, {}};
  }
  std::shared_ptr<WorldRecord> record(std::string_view node, std::string_view type,
                                      std::string_view name) {
    return mDirectory.node(node)->record(type, name);
  }
};

TEST_F(NestedGroups, HoldWhomGroupsAtAnyDepthHold) {
  const auto ann = record("local", "Users", "ann");
  const auto bob = record("local", "Users", "bob");
  record("ldap/two", "Groups", "c")->setValues("GroupMembership", {"ann"});
  record("ldap/one", "Groups", "b")->setValues("GroupMembers", *bob->valuesForAttribute("GUID"));
  for (const auto& [node, name] : {std::pair("local", "a"), std::pair("ldap/one", "b")}) {
    EXPECT_TRUE(record(node, "Groups", name)->isMember(*ann)) << name;
    EXPECT_TRUE(record(node, "Groups", name)->isMember(*bob)) << name;
  }
  EXPECT_FALSE(record("local", "Groups", "a")->isMember(*record("local", "Users", "carol")));
}

TEST_F(NestedGroups, NameTheUsersWhomTheyListByGUIDAfterThoseWhomTheyName) {
  const auto group = record("ldap/one", "Groups", "b");
  const auto bob = record("local", "Users", "bob");
  const auto guids = *bob->valuesForAttribute("GUID");
  group->setValues("GroupMembers", {guids.at(0), "unknown"});
  EXPECT_EQ(group->valuesForAttribute("GroupMembership"), Strings{"bob"});
  group->setValues("GroupMembership", {"zoe", "bob"});
  EXPECT_EQ(group->valuesForAttribute("GroupMembership"), (Strings{"zoe", "bob"}));
  group->setValues("GroupMembership", {"zoe"});
  const Value both(Strings{"zoe", "bob"});
  EXPECT_EQ(group->valuesForAttribute("lxAttrTypeStandard:GroupMembership"),
            (Strings{"zoe", "bob"}));
  EXPECT_EQ(group->recordDetails({})->at("GroupMembership"), both);
  EXPECT_EQ(group->recordDetails({"GroupMembership"})->at("GroupMembership"), both);
  EXPECT_FALSE(group->recordDetails({"RecordName"})->contains("GroupMembership"));
  mDirectory.setReachable("local", false);
  EXPECT_EQ(group->valuesForAttribute("GroupMembership"), Strings{"zoe"});
}

TEST_F(Network, FindsAndHoldsByGUIDsInEitherCase) {
  const std::string upper = "6C6B2F1E-0000-4000-8000-0000000010AB";
  const std::string lower = "6c6b2f1e-0000-4000-8000-0000000010ab";
  const auto local = mDirectory.node("local");
  const auto user = [&](std::string name, const std::string& guid) {
    return local->addRecord(
        {"Users",
         {{"RecordName", {std::move(name)}}, {"UniqueID", {"1021"}}, {"GUID", {guid}}},
         {},
         {}});
  };
  const auto nora = user("nora", upper);
  EXPECT_EQ(found("GUID", MatchType::EqualTo, {lower}), Strings{"1021"});
  EXPECT_EQ(found("lxAttrTypeStandard:GUID", MatchType::EqualTo, {lower}), Strings{"1021"});
  EXPECT_EQ(found("GUID", MatchType::Contains, {"10ab"}), Strings{"1021"});
  EXPECT_EQ(nora->valuesForAttribute("GUID"), Strings{upper});
  nora->setValues("GUID", {lower});
  EXPECT_EQ(found("GUID", MatchType::EqualTo, {upper}), Strings{"1021"});

  const auto inner = local->addRecord({"Groups",
                                       {{"RecordName", {"inner"}},
                                        {"GUID", {"6C6B2F1E-0000-4000-8000-00000000A1AB"}},
                                        {"GroupMembers", {upper}}},
                                       {},
                                       {}});
  const auto outer = local->addRecord(
      {"Groups",
       {{"RecordName", {"outer"}}, {"NestedGroups", {"6c6b2f1e-0000-4000-8000-00000000a1ab"}}},
       {},
       {}});
  EXPECT_TRUE(inner->isMember(*nora));
  EXPECT_TRUE(outer->isMember(*nora));
  EXPECT_TRUE(outer->isMember(*inner));
  nora->setValues("GUID", {});
  EXPECT_EQ(found("GUID", MatchType::EqualTo, {upper}), Strings{});
}

TEST_F(Network, ComparesTextsThatAreNoGUIDsAsTheyStand) {
  mDirectory.node("local")->addRecord(
      {"Users", {{"RecordName", {"odd"}}, {"UniqueID", {"1022"}}, {"GUID", {"B0B"}}}, {}, {}});
  EXPECT_EQ(found("GUID", MatchType::EqualTo, {"b0b"}), Strings{});
  EXPECT_EQ(found("GUID", MatchType::EqualTo, {"B0B"}), Strings{"1022"});
}

TEST_F(NestedGroups, HoldTheGroupsThatTheyNest) {
  EXPECT_TRUE(record("local", "Groups", "a")->isMember(*record("ldap/two", "Groups", "c")));
  EXPECT_FALSE(record("local", "Groups", "a")->isMember(*record("local", "Groups", "staff")));
}

TEST_F(NestedGroups, LackWhomAGroupOutOfReachHolds) {
  record("ldap/two", "Groups", "c")->setValues("GroupMembership", {"ann"});
  mDirectory.setReachable("ldap/two", false);
  EXPECT_FALSE(record("local", "Groups", "a")->isMember(*record("local", "Users", "ann")));
}

TEST_F(Network, AdmitsTheMembersOfAGroupThatAnAccessListNames) {
  auto& membership = mWorld->membership();
  const auto admin = mDirectory.node("local")->record("Groups", "admin");
  membership.setAccessList("gatehall", {{admin->valuesForAttribute("GUID")->at(0)}});
  const auto admits = [&](std::uint32_t userID) {
    Identifier identifier{};
    membership.userIDToIdentifier(userID, identifier);
    bool isMember = false;
    EXPECT_EQ(membership.checkServiceMembership(identifier, "gatehall", isMember), 0);
    return isMember;
  };
  EXPECT_TRUE(admits(1000));
  EXPECT_FALSE(admits(1001));
  // dana has no GUID and goes by her user id.
  EXPECT_FALSE(admits(2001));
  admin->setValues("GroupMembership", {"dana"});
  EXPECT_TRUE(admits(2001));
  membership.removeAccessList("gatehall");
  bool isMember = false;
  EXPECT_EQ(membership.checkServiceMembership({}, "gatehall", isMember),
            MembershipService::kNoAccessList);
}

TEST_F(Network, LetsThreadsReadWhileItChanges) {
  std::atomic<bool> done = false;
  const auto ann = open("local")->recordByTypeAndName("Users", "ann", {});
  std::thread reader([&] {
    while (!done) {
      found("RecordName", MatchType::EqualTo, {"ann", "zoe"});
      found("FullName", MatchType::ContainsIgnoringCase, {"LEE"});
      ann->recordDetails({});
      ann->synchronize();
    }
  });
  for (int round = 0; round < 200; ++round) {
    mDirectory.node("local")->addRecord(user("zoe", "5000"));
    mDirectory.node("local")->record("Users", "ann")->setValues("FullName", {"Ann Lee"});
    mDirectory.setReachable("ldap/one", round % 2 == 0);
    mDirectory.node("local")->record("Users", "zoe")->remove();
  }
  done = true;
  reader.join();
  EXPECT_THAT(named("zoe"), IsEmpty());
}

}  // namespace
}  // namespace gatehall
