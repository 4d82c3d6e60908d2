#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UserQuestions : public Machine {
 protected:
  UserQuestions() { install(cast::machineOfAll()); }

  std::shared_ptr<CachedUser> userWith(std::string_view kind, Strings values) {
    install(cast::machine({}));
    addUser({{"RecordName", {"kim"}}, {"UniqueID", {"7"}}, {std::string(kind), std::move(values)}});
    return userNamed("kim");
  }
};

TEST_F(UserQuestions, RootIsUserIDZero) {
  EXPECT_TRUE(userNamed("root")->isRootUser());
  EXPECT_FALSE(userNamed("ann")->isRootUser());
}

TEST_F(UserQuestions, TheDirectorysAdministratorIsUserID1000) {
  EXPECT_TRUE(userNamed("ann")->isDirAdminUser());
  EXPECT_FALSE(userNamed("bob")->isDirAdminUser());
}

TEST_F(UserQuestions, OnlyTheShortNameAdminExactlyIsNamedAdmin) {
  addUser({{"RecordName", {"admin"}}, {"UniqueID", {"8"}}});
  addUser({{"RecordName", {"Admin", "admin"}}, {"UniqueID", {"9"}}});
  EXPECT_TRUE(userNamed("admin")->isNameAdmin());
  EXPECT_FALSE(userNamed("Admin")->isNameAdmin());
  EXPECT_FALSE(userNamed("ann")->isNameAdmin());
}

TEST_F(UserQuestions, MembersOfTheLocalAdminGroupAreAdministrators) {
  EXPECT_TRUE(userNamed("ann")->isInAdminGroup());
  const auto bob = userNamed("bob");
  forgetCalls();
  EXPECT_FALSE(bob->isInAdminGroup());
  EXPECT_THAT(
      calls(),
      ElementsAre(
          Call{"defaultSession", {}}, Call{"nodeByType", {{"type", "local"}}},
          Call{"recordByTypeAndName",
               {{"node", "local"}, {"type", "Groups"}, {"name", "admin"}, {"attributes", Array{}}}},
          Call{"isMember", {{"group", "admin"}, {"member", "bob"}}}));
}

TEST_F(UserQuestions, MembersOfAGroupNestedInTheAdminGroupAreAdministrators) {
  addGroup({{"RecordName", {"owners"}}, {"GUID", {"OWNERS"}}, {"GroupMembership", {"bob"}}});
  mWorld->directory()
      .node("local")
      ->record("Groups", "admin")
      ->setValues("NestedGroups", {"OWNERS"});
  EXPECT_TRUE(userNamed("bob")->isInAdminGroup());
}

TEST_F(UserQuestions, NobodyIsAnAdministratorWithoutTheLocalNodeOrItsAdminGroup) {
  const auto ann = userNamed("ann");
  mWorld->directory().node("local")->record("Groups", "admin")->remove();
  EXPECT_FALSE(ann->isInAdminGroup());
  mWorld->directory().setLocalNode(std::nullopt);
  EXPECT_FALSE(ann->isInAdminGroup());
  EXPECT_FALSE(CachedUser::cachedOtherUser("Jane")->isInAdminGroup());
}

TEST_F(UserQuestions, AGuestIsMarkedByATrueValue) {
  EXPECT_TRUE(userNamed("gus")->isGuestUser());
  EXPECT_FALSE(userNamed("ann")->isGuestUser());
  for (const auto* yes : {"1", "YES", "true", "y"}) {
    EXPECT_TRUE(userWith("lxAttrTypeNative:_guest", {yes})->isGuestUser()) << yes;
  }
  for (const auto* no : {"0", "NO", "false", ""}) {
    EXPECT_FALSE(userWith("lxAttrTypeNative:_guest", {no})->isGuestUser()) << no;
  }
}

TEST_F(UserQuestions, ALocalUserIsOnTheLocalNode) {
  EXPECT_TRUE(userNamed("ann")->isLocalUser());
  EXPECT_TRUE(userNamed("erin")->isLocalUser());
  EXPECT_FALSE(userNamed("dana", cast::kNetworkNode)->isLocalUser());
  EXPECT_FALSE(CachedUser::cachedOtherUser("Jane")->isLocalUser());
}

TEST_F(UserQuestions, OnlyTheFirstNodeThatARecordNamesCounts) {
  EXPECT_FALSE(userWith("MetaNodeLocation", {"unix", "local"})->isLocalUser());
  EXPECT_TRUE(userWith("MetaNodeLocation", {"local", "unix"})->isLocalUser());
  EXPECT_FALSE(userWith("MetaNodeLocation", {})->isLocalUser());
}

TEST_F(UserQuestions, NobodyIsLocalWhileTheLocalNodesNameIsUnavailable) {
  fail({{"nodeName", Fault::Kind::PlatformException, 1}});
  const auto ann = userNamed("ann");
  EXPECT_FALSE(ann->isLocalUser());
  EXPECT_THAT(errors(), ElementsAre("Unable to get the local node's name"));
  EXPECT_TRUE(ann->isLocalUser());
}

TEST_F(UserQuestions, AManagedUserHasSettingsThatAreNotEmpty) {
  EXPECT_TRUE(userWith("TavloSettings", {"<plist/>"})->isManaged());
  EXPECT_FALSE(userWith("TavloSettings", {""})->isManaged());
  EXPECT_FALSE(userWith("TavloSettings", {})->isManaged());
  EXPECT_FALSE(userWith("FullName", {"Kim"})->isManaged());
}

TEST_F(UserQuestions, AMobileUserHasACopyTimestamp) {
  EXPECT_TRUE(userNamed("erin")->isMobileHomeUser());
  EXPECT_FALSE(userNamed("ann")->isMobileHomeUser());
  EXPECT_TRUE(userWith("CopyTimestamp", {""})->isMobileHomeUser());
}

}  // namespace
}  // namespace gatehall
