#include <gtest/gtest.h>

#include "tests/access/VisibleListWorld.h"

namespace gatehall {
namespace {

using namespace cast;

class VisibleUsersList : public VisibleListWorld {
 protected:
  VisibleUsersList() { install(machineOfAll()); }

  /// ann owns the console; whoever is given has a session whose login is done.
  void logIn(std::int64_t id, std::int32_t userID, std::string name, bool done = true) {
    mWorld->sessions().open(
        {.id = id, .userID = userID, .userName = std::move(name), .loginDone = done});
  }
};

TEST_F(VisibleUsersList, HoldsLocalUsersByLongNameAndNeitherRootNorNetworkUsers) {
  EXPECT_EQ(built(), "gus ann bob carol erin");
}

TEST_F(VisibleUsersList, NeverHoldsNetworkUsersEvenWhenAskedToSinceNoPreferenceShowsThem) {
  prefer("ShowNetworkUsers", true);
  EXPECT_EQ(built(true), "gus ann bob carol erin");
}

TEST_F(VisibleUsersList, HidesIdsUpTo500AndShows501WhenAskedTo) {
  addUser("system", "500");
  addUser("zoe", "501");
  prefer("Hide500Users", true);
  EXPECT_EQ(built(), "gus ann bob carol erin zoe");
}

TEST_F(VisibleUsersList, ShowsIdsUpTo500ByDefault) {
  addUser("system", "500");
  EXPECT_EQ(built(), "gus ann bob carol erin system");
}

TEST_F(VisibleUsersList, ShowsALoggedInUserWithId500) {
  addUser("system", "500");
  prefer("Hide500Users", true);
  logIn(7, 500, "system");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "gus ann bob carol erin system");
}

TEST_F(VisibleUsersList, TakesIdsAsUnsignedWhenItHidesThose) {
  addUser("zoe", "4294967294");
  prefer("Hide500Users", true);
  EXPECT_EQ(built(), "gus ann bob carol erin zoe");
}

TEST_F(VisibleUsersList, HidesANamedUserUnlessLoggedIn) {
  prefer("HiddenUsersList", Array{"bob", "carol", 5});
  logIn(7, 1002, "carol");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "gus ann carol erin");
}

TEST_F(VisibleUsersList, HidesByShortNameNotByAlias) {
  prefer("HiddenUsersList", Array{"annie"});
  EXPECT_EQ(built(), "gus ann bob carol erin");
}

TEST_F(VisibleUsersList, ShowsRootOnlyWhenLoggedInAndAlreadyInTheList) {
  logIn(7, 0, "root");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "gus ann bob carol erin root");
}

TEST_F(VisibleUsersList, NeverAddsALoggedInRootThatIsNotInTheList) {
  prefer("HideLocalUsers", true);
  logIn(7, 0, "root");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "");
}

TEST_F(VisibleUsersList, HidesAdministratorsUnlessLoggedIn) {
  prefer("HideAdminUsers", true);
  EXPECT_EQ(built(), "gus bob carol erin");
  logIn(7, 1000, "ann");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "gus ann bob carol erin");
}

TEST_F(VisibleUsersList, ShowsAdministratorsAndSaysSoWhenTheirGroupCanNotBeRead) {
  prefer("HideAdminUsers", true);
  fail({{.operation = "query", .where = {.value = "admin"}}});
  EXPECT_EQ(built(), "gus ann bob carol erin");
  EXPECT_EQ(errors(), Strings{"Unable to find the administrators."});
}

TEST_F(VisibleUsersList, HidesMobileAccountsUnlessLoggedIn) {
  prefer("HideMobileAccounts", true);
  EXPECT_EQ(built(), "gus ann bob carol");
  logIn(7, 1003, "erin");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "gus ann bob carol erin");
}

TEST_F(VisibleUsersList, HoldsOnlyLoggedInUsersWhenLocalLoginIsOff) {
  prefer("LocalUserLoginEnabled", false);
  EXPECT_EQ(built(), "");
  logIn(7, 1001, "bob");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "bob");
}

TEST_F(VisibleUsersList, HoldsOnlyLoggedInUsersWhenLocalUsersAreHidden) {
  prefer("HideLocalUsers", true);
  logIn(7, 1001, "bob");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "bob");
}

TEST_F(VisibleUsersList, ListsALoggedInNetworkUser) {
  logIn(7, 2001, "dana");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "gus ann bob carol dana erin");
}

TEST_F(VisibleUsersList, LooksUpALoggedInUserByTheNameAsTheSessionSpellsIt) {
  logIn(7, 2001, "Dana");
  mWorld->sessions().setCurrent(7);
  EXPECT_EQ(built(), "gus ann bob carol erin");
}

TEST_F(VisibleUsersList, MarksWhoOwnsTheConsoleAndWhoIsLoggedIn) {
  logIn(7, 1000, "ann");
  logIn(8, 1001, "bob");
  mWorld->sessions().setCurrent(8);
  const auto list = access()->buildVisibleUsersListWithNetworkUsers(false);
  const auto ann = list->findUserByShortName("ann");
  const auto bob = list->findUserByShortName("bob");
  const auto carol = list->findUserByShortName("carol");
  EXPECT_TRUE(ann->isSuspended());
  EXPECT_FALSE(ann->isCurrentUser());
  EXPECT_TRUE(bob->isSuspended());
  EXPECT_TRUE(bob->isCurrentUser());
  EXPECT_FALSE(carol->isSuspended());
}

TEST_F(VisibleUsersList, ForgetsTheConsoleMarkOfAnEarlierSessionOfTheSameUser) {
  logIn(7, 1000, "ann");
  logIn(8, 1000, "ann");
  mWorld->sessions().setCurrent(7);
  const auto list = access()->buildVisibleUsersListWithNetworkUsers(false);
  EXPECT_FALSE(list->findUserByShortName("ann")->isCurrentUser());
}

TEST_F(VisibleUsersList, SkipsASessionWhoseLoginIsNotDoneAndOneThatWentAway) {
  mWorld->sessions().setList(WorldSessions::List{
      std::nullopt, WorldSession{.id = 7, .userID = 1001, .userName = "bob", .loginDone = false}});
  mWorld->sessions().setCurrent(7);
  const auto list = access()->buildVisibleUsersListWithNetworkUsers(false);
  EXPECT_FALSE(list->findUserByShortName("bob")->isSuspended());
}

TEST_F(VisibleUsersList, SkipsASessionThatDoesNotSayWhetherItsLoginIsDone) {
  mWorld->sessions().open({.id = 7, .userID = 1001, .userName = "bob", .loginDone = {}});
  mWorld->sessions().setCurrent(7);
  const auto list = access()->buildVisibleUsersListWithNetworkUsers(false);
  EXPECT_FALSE(list->findUserByShortName("bob")->isSuspended());
}

TEST_F(VisibleUsersList, MarksNobodyWithoutACurrentSession) {
  logIn(7, 1001, "bob");
  const auto list = access()->buildVisibleUsersListWithNetworkUsers(false);
  EXPECT_FALSE(list->findUserByShortName("bob")->isSuspended());
}

TEST_F(VisibleUsersList, MarksNobodyWhenTheSessionsCanNotBeListed) {
  logIn(7, 1001, "bob");
  mWorld->sessions().setCurrent(7);
  mWorld->sessions().setList(std::nullopt);
  EXPECT_EQ(built(), "gus ann bob carol erin");
}

TEST_F(VisibleUsersList, LooksUpALoggedInUserByNameAndIdTogether) {
  // Somebody else has the name now; the session's user is found by both.
  logIn(7, 4711, "bob");
  mWorld->sessions().setCurrent(7);
  const auto list = access()->buildVisibleUsersListWithNetworkUsers(false);
  EXPECT_EQ(names(list), "gus ann bob carol erin");
  EXPECT_FALSE(list->findUserByShortName("bob")->isSuspended());
}

TEST_F(VisibleUsersList, IsBuiltOnceAndThenHandedOutAgain) {
  const auto list = access()->visibleUsersList();
  addUser("zoe", "1005");
  EXPECT_EQ(access()->visibleUsersList(), list);
  EXPECT_EQ(list->count(), 5U);
}

TEST_F(VisibleUsersList, IsEmptyWithoutALocalNode) {
  mWorld->directory().setLocalNode(std::nullopt);
  EXPECT_EQ(built(), "");
}

TEST_F(VisibleUsersList, ReadsTheHidingPreferencesOnce) {
  forgetCalls();
  built();
  EXPECT_EQ(calls("synchronizePreferences").size(), 1U);
}

TEST_F(VisibleUsersList, CheckSACLsOfTheListTellsWhetherSomebodyWasRemoved) {
  EXPECT_FALSE(UserAccess::checkSACLs());
  mWorld->membership().setAccessList("gatehall", {.members = {std::string(kBobGUID)}});
  EXPECT_TRUE(UserAccess::checkSACLs());
  EXPECT_EQ(shown(), "bob");
}

}  // namespace
}  // namespace gatehall
