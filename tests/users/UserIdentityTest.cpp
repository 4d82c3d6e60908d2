#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UserIdentity : public Machine {
 protected:
  /// A user with these attributes beside a name.
  std::shared_ptr<CachedUser> userWith(Attributes attributes) {
    install(cast::machine({}));
    attributes.push_back({"RecordName", {"ann"}});
    attributes.push_back({"UniqueID", {"1"}});
    addUser(std::move(attributes));
    return userNamed("ann");
  }

  /// A user whose record has lost an attribute since the user was made.
  std::shared_ptr<CachedUser> userWithout(std::string_view kind) {
    install(cast::machineOfAll());
    const auto ann = userNamed("ann");
    mWorld->directory().node("local")->record("Users", "ann")->removeAttribute(kind);
    ann->updateUserAttributes();
    return ann;
  }
};

TEST_F(UserIdentity, IsReadFromTheRecord) {
  install(cast::machineOfAll());
  const auto ann = userNamed("ann");
  EXPECT_EQ(ann->shortName(), "ann");
  EXPECT_EQ(ann->longName(), "Ann Lee");
  EXPECT_EQ(ann->getUid(), 1000U);
  EXPECT_EQ(ann->getGid(), 20U);
  EXPECT_EQ(ann->getGUID(), cast::kAnnGUID);
  EXPECT_EQ(ann->shell(), "/bin/bash");
  EXPECT_EQ(ann->node(), "local");
  EXPECT_EQ(ann->authAuthority(), Value(Array{";ShadowHash;"}));
  EXPECT_EQ(ann->userPicturePath(), "/usr/share/pictures/ann.png");
  EXPECT_EQ(ann->nfsHomePath(), "/home/ann");
  EXPECT_EQ(ann->passwordHint(), std::nullopt);
  EXPECT_EQ(ann->ofpHomePath(), std::nullopt);
  EXPECT_EQ(ann->mobileHomeUserNode(), std::nullopt);
  EXPECT_EQ(userNamed("carol")->passwordHint(), "what I never say");
  EXPECT_EQ(userNamed("erin")->mobileHomeUserNode(), cast::kNetworkNode);
  EXPECT_EQ(userNamed("dana", cast::kNetworkNode)->node(), cast::kNetworkNode);
}

TEST_F(UserIdentity, HasTheHomeDirectoryAsItStands) {
  EXPECT_EQ(
      userWith({{"HomeDirectory", {"<home_dir><url>file:///x</url></home_dir>"}}})->ofpHomePath(),
      "<home_dir><url>file:///x</url></home_dir>");
}

TEST_F(UserIdentity, HasStatedNumbersWithoutAttributes) {
  const auto ann = userWithout("UniqueID");
  EXPECT_EQ(ann->getUid(), 0xFFFFFFFEU);
  EXPECT_FALSE(ann->isRootUser());
  EXPECT_FALSE(ann->isDirAdminUser());
  EXPECT_EQ(userWithout("PrimaryGroupID")->getGid(), 0U);
}

TEST_F(UserIdentity, ReadsIDsAsUnsigned32BitNumbers) {
  EXPECT_EQ(userWith({{"PrimaryGroupID", {"-2"}}})->getGid(), 4294967294U);
  EXPECT_EQ(userWith({{"PrimaryGroupID", {"4294967295"}}})->getGid(), 4294967295U);
  EXPECT_EQ(userWith({{"PrimaryGroupID", {"wheel"}}})->getGid(), 0U);
}

TEST_F(UserIdentity, HasTheShortNameForALongOneWhenTheFullNameIsEmptyOrAbsent) {
  EXPECT_EQ(userWith({{"FullName", {""}}})->longName(), "ann");
  EXPECT_EQ(userWith({})->longName(), "ann");
  EXPECT_EQ(userWith({{"FullName", {"Ann", "Second"}}})->longName(), "Ann");
}

TEST_F(UserIdentity, HasTheGUIDOfTheGroupWithItsPrimaryGroupID) {
  install(cast::machineOfAll());
  const auto ann = userNamed("ann");
  forgetCalls();
  EXPECT_EQ(ann->primaryGroupGUID(), cast::kStaffGroupGUID);
  EXPECT_THAT(calls("query"),
              ElementsAre(queryCall("search", {"Groups"}, "PrimaryGroupID", {"20"}, {"GUID"})));
}

TEST_F(UserIdentity, HasTheGUIDOfTheFirstOfSeveralSuchGroups) {
  const auto ann = userWith({{"PrimaryGroupID", {"9"}}});
  addGroup({{"RecordName", {"far"}}, {"PrimaryGroupID", {"9"}}, {"GUID", {"FAR"}}},
           cast::kNetworkNode);
  addGroup({{"RecordName", {"near"}}, {"PrimaryGroupID", {"9"}}, {"GUID", {"NEAR"}}});
  EXPECT_EQ(ann->primaryGroupGUID(), "NEAR");
}

TEST_F(UserIdentity, HasNoPrimaryGroupGUIDWithoutAnIDOrAGroupOrItsGUID) {
  const auto without = userWith({});
  forgetCalls();
  EXPECT_EQ(without->primaryGroupGUID(), std::nullopt);
  EXPECT_THAT(calls("query"), IsEmpty());
  const auto ann = userWith({{"PrimaryGroupID", {"9"}}});
  EXPECT_EQ(ann->primaryGroupGUID(), std::nullopt);
  addGroup({{"RecordName", {"nine"}}, {"PrimaryGroupID", {"9"}}});
  EXPECT_EQ(ann->primaryGroupGUID(), std::nullopt);
  mWorld->directory().removeSearchNode();
  EXPECT_EQ(ann->primaryGroupGUID(), std::nullopt);
}

TEST_F(UserIdentity, HasNoPrimaryGroupGUIDWhenTheQueryOrItsResultsAreAbsent) {
  install(cast::machineOfAll());
  for (const auto* operation : {"query", "queryResults"}) {
    fail({{operation, Fault::Kind::Absent}});
    EXPECT_EQ(userNamed("ann")->primaryGroupGUID(), std::nullopt) << operation;
  }
}

}  // namespace
}  // namespace gatehall
