#include <gtest/gtest.h>

#include "tests/access/LoginWorld.h"

namespace gatehall {
namespace {

class AllowedUsers : public LoginWorld {
 protected:
  /// The short names, or absent.
  static std::optional<Strings> names() {
    const auto users = UserAccess::sharedUserAccess()->allowedUsers();
    if (!users) return std::nullopt;
    Strings names;
    for (const auto& each : *users) names.push_back(each->shortName().value_or("?"));
    return names;
  }
};

TEST_F(AllowedUsers, AreAllNetworkUsersWithoutLists) {
  EXPECT_EQ(names(), (Strings{"dana", "finn", "hana"}));
}

TEST_F(AllowedUsers, AreAllNetworkUsersWhenEveryoneIsAllowed) {
  set("AllowList", Array{"*"});
  EXPECT_EQ(names(), (Strings{"dana", "finn", "hana"}));
}

TEST_F(AllowedUsers, AreAllNetworkUsersWhenTheAllowListNamesAnEmptyGroup) {
  set("AllowList", Array{kEmpty});
  EXPECT_EQ(names(), (Strings{"dana", "finn", "hana"}));
}

TEST_F(AllowedUsers, AreNobodyWhenAStrictAllowListNamesNobody) {
  set("StrictAllowList", true);
  for (const auto& entry : {kEmpty, kNobody}) {
    set("AllowList", Array{entry});
    install(mWorld);
    EXPECT_EQ(names(), Strings{}) << entry;
  }
}

TEST_F(AllowedUsers, AreThoseOfTheAllowListInItsOrderLocalOnesIncluded) {
  set("AllowList", Array{kHana, kDay, kBob});
  const auto list = UserAccess::sharedUserAccess()->allowList();
  ASSERT_EQ(list->guids, (Strings{kBob, kHana, kDana, kFinn}));
  EXPECT_EQ(names(), (Strings{"bob", "hana", "dana", "finn"}));
}

TEST_F(AllowedUsers, LeavesOutWhoIsNotFound) {
  set("AllowList", Array{kDana, kHana});
  UserAccess::sharedUserAccess()->allowList();
  network()->record(record::Users, "dana")->remove();
  EXPECT_EQ(names(), Strings{"hana"});
  EXPECT_EQ(errors(), Strings{"Unable to find the user on the search node."});
}

TEST_F(AllowedUsers, AreNoneAtAllWhenEveryoneIsDenied) {
  set("DenyList", Array{kDana, "*"});
  set("AllowList", Array{kHana});
  EXPECT_EQ(names(), std::nullopt);
}

TEST_F(AllowedUsers, AreNotThoseOfTheDenyList) {
  set("DenyList", Array{kDay});
  EXPECT_EQ(names(), Strings{"hana"});
  set("AllowList", Array{kDana, kHana});
  EXPECT_EQ(names(), Strings{"hana"});
}

TEST_F(AllowedUsers, ADenyListOfOthersTakesNobodyAway) {
  set("DenyList", Array{kBob});
  EXPECT_EQ(names(), (Strings{"dana", "finn", "hana"}));
}

TEST_F(AllowedUsers, AUserDeniedTwiceIsTakenAwayOnce) {
  set("DenyList", Array{kDana, kDay});
  EXPECT_EQ(names(), Strings{"hana"});
}

TEST_F(AllowedUsers, AreANewListOnEveryCall) {
  const auto access = UserAccess::sharedUserAccess();
  EXPECT_NE(access->allowedUsers(), access->allowedUsers());
}

TEST_F(AllowedUsers, AreAbsentWhenTheNetworkUsersCannotBeHad) {
  fail({{"subnodeNames", Fault::Kind::PlatformException, {}, {}}});
  EXPECT_EQ(names(), std::nullopt);
}

TEST_F(AllowedUsers, AreNoneInAWorldWithoutNetworkNodes) {
  mWorld->directory().setSearchNode("search", {"local", "unix"});
  EXPECT_EQ(names(), Strings{});
}

}  // namespace
}  // namespace gatehall
