#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/CachedUserList.h"
#include "gatehall/users/KinwatchMonitor.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A list of five managed users: u1 to u5, 1 to 5.
class CachedUserListTest : public Machine {
 protected:
  CachedUserListTest() {
    for (const auto* number : {"1", "2", "3", "4", "5"}) {
      addUser({{"RecordName", {std::string("u") + number, std::string("alias") + number}},
               {"UniqueID", {number}},
               {"GUID", {std::string("G") + number}},
               {"TavloSettings", {"<settings/>"}}});
      mList->addObject(userNamed(std::string("u") + number));
    }
    forgetCalls();
  }

  /// The user ids that parental controls were asked about.
  std::vector<std::int64_t> refreshed() const {
    std::vector<std::int64_t> ids;
    for (const auto& call : calls("mayLogInNow")) {
      ids.push_back(call.arguments.at("userID").integerValue().value_or(-1));
    }
    return ids;
  }

  void postStatusChange(std::optional<Dictionary> userInfo) {
    mWorld->distributedNotificationCenter().post("KinwatchLoginStatusChangedNotification",
                                                 std::move(userInfo));
    mWorld->runLoop().pump();
  }

  std::shared_ptr<CachedUserList> mList = CachedUserList::cachedUserList();
};

using UserStatusChanged = CachedUserListTest;

TEST_F(CachedUserListTest, StartsEmpty) {
  const auto list = CachedUserList::cachedUserList();
  EXPECT_EQ(list->count(), 0U);
  EXPECT_EQ(list->objectAtIndex(0), nullptr);
  EXPECT_EQ(list->lastObject(), nullptr);
  EXPECT_EQ(list->begin(), list->end());
  list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  EXPECT_EQ(list->findUserByGUID("G1"), nullptr);
  EXPECT_EQ(list->findUserByShortName(""), nullptr);
}

TEST_F(CachedUserListTest, AnswersByIndexAndNobodyBeyondTheEnd) {
  EXPECT_EQ(mList->objectAtIndex(0)->shortName(), "u1");
  EXPECT_EQ(mList->objectAtIndex(4)->shortName(), "u5");
  EXPECT_EQ(mList->objectAtIndex(mList->count()), nullptr);
  EXPECT_EQ(mList->objectAtIndex(0xFFFFFFFFFFFFFFFF), nullptr);
  EXPECT_EQ(mList->lastObject()->shortName(), "u5");
}

TEST_F(CachedUserListTest, KeepsItsIndexesWhenItIsSorted) {
  mList->addObject(CachedUser::cachedOtherUser("a"));
  mList->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  EXPECT_THAT(shortNames(*mList), ElementsAre("a", "u1", "u2", "u3", "u4", "u5"));
  EXPECT_EQ(mList->findUserByGUID("G3"), mList->objectAtIndex(3));
  EXPECT_EQ(mList->findUserByShortName("alias3"), mList->objectAtIndex(3));
}

TEST_F(CachedUserListTest, HoldsItsUsers) {
  std::weak_ptr<CachedUser> user = mList->objectAtIndex(2);
  EXPECT_FALSE(user.expired());
  mList.reset();
  EXPECT_TRUE(user.expired());
}

TEST_F(UserStatusChanged, RefreshesTheUsersUpToTheFirstOfThatName) {
  mList->userStatusChanged("u3");
  EXPECT_THAT(refreshed(), ElementsAre(1, 2, 3));
}

TEST_F(UserStatusChanged, RefreshesAllUsersForANameThatNobodyHasOrNone) {
  mList->userStatusChanged("nobody");
  EXPECT_THAT(refreshed(), ElementsAre(1, 2, 3, 4, 5));
  forgetCalls();
  mList->userStatusChanged(std::nullopt);
  EXPECT_THAT(refreshed(), ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(UserStatusChanged, TakesNeitherAliasesNorOtherCaseForTheName) {
  mList->userStatusChanged("alias2");
  EXPECT_EQ(refreshed().size(), 5U);
  forgetCalls();
  mList->userStatusChanged("U2");
  EXPECT_EQ(refreshed().size(), 5U);
}

TEST_F(UserStatusChanged, WalksTheListInItsPresentOrder) {
  mList->addObject(CachedUser::cachedOtherUser("Jane"));
  mList->removeObject(mList->objectAtIndex(1));
  mList->userStatusChanged("u4");
  EXPECT_THAT(refreshed(), ElementsAre(1, 3, 4));
}

TEST_F(UserStatusChanged, StoresTheNewAnswers) {
  mWorld->parentalControls().setLimit(2, {false, 3, std::nullopt});
  mWorld->parentalControls().setLimit(4, {false, 3, std::nullopt});
  mList->userStatusChanged("u3");
  EXPECT_FALSE(mList->objectAtIndex(1)->kinwatchAllowsLogin());
  EXPECT_TRUE(mList->objectAtIndex(3)->kinwatchAllowsLogin()) << "not asked again";
}

TEST_F(UserStatusChanged, ReachesEveryListByTheDistributedNotificationInTheOrderTheyWereMade) {
  const auto second = CachedUserList::cachedUserList();
  second->addObject(mList->objectAtIndex(4));
  postStatusChange(Dictionary{{"userName", "u2"}});
  EXPECT_THAT(refreshed(), ElementsAre(1, 2, 5));
}

TEST_F(UserStatusChanged, DoesNotReachAListThatIsGone) {
  auto second = CachedUserList::cachedUserList();
  second->addObject(mList->objectAtIndex(4));
  second.reset();
  postStatusChange(Dictionary{{"userName", "u2"}});
  EXPECT_THAT(refreshed(), ElementsAre(1, 2));
}

TEST_F(UserStatusChanged, IsNotCausedByANotificationWithoutAUserName) {
  postStatusChange(std::nullopt);
  postStatusChange(Dictionary{{"user", "u2"}});
  EXPECT_THAT(refreshed(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
