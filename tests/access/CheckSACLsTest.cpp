#include <gtest/gtest.h>

#include "tests/access/LoginWorld.h"

namespace gatehall {
namespace {

class CheckSACLs : public LoginWorld {
 protected:
  static std::shared_ptr<CachedUserList> listOf(Strings guids) {
    return cachedUserListForGUIDs(std::move(guids));
  }
  static bool check(CachedUserList& list) {
    return UserAccess::sharedUserAccess()->checkSACLs(list);
  }
};

TEST_F(CheckSACLs, LeavesAListAloneInWhichEveryoneHasServiceAccess) {
  const auto list = listOf({kBob, kDana});
  EXPECT_FALSE(check(*list));
  EXPECT_EQ(list->count(), 2U);
}

TEST_F(CheckSACLs, SaysNoForAnEmptyList) { EXPECT_FALSE(check(*listOf({}))); }

TEST_F(CheckSACLs, RemovesEveryUserWithoutServiceAccess) {
  const auto list = listOf({kAnn, kBob, kDana, kHana});
  setServiceAccess({.members = {kBob, kHana}});
  EXPECT_TRUE(check(*list));
  ASSERT_EQ(list->count(), 2U);
  EXPECT_EQ(list->objectAtIndex(0)->shortName(), "bob");
  EXPECT_EQ(list->objectAtIndex(1)->shortName(), "hana");
  EXPECT_EQ(list->findUserByGUID(kDana), nullptr);
  EXPECT_FALSE(check(*list));
}

TEST_F(CheckSACLs, EmptiesAListInWhichNobodyHasServiceAccess) {
  const auto list = listOf({kBob, kDana});
  setServiceAccess({.members = {}});
  EXPECT_TRUE(check(*list));
  EXPECT_EQ(list->count(), 0U);
}

TEST_F(CheckSACLs, SaysNoWhenWhoHasNoServiceAccessCannotBeRemoved) {
  const auto list = CachedUserList::cachedUserList();
  list->addObject(CachedUser::cachedOtherUser("Other..."));
  setServiceAccess({.members = {}});
  EXPECT_FALSE(check(*list));
  EXPECT_EQ(list->count(), 1U);
}

}  // namespace
}  // namespace gatehall
