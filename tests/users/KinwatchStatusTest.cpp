#include <gtest/gtest.h>

#include "gatehall/users/UserLookup.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

/// carol's account is managed.
class KinwatchStatus : public InstalledWorld {
 protected:
  KinwatchStatus() {
    install(cast::machineOfAll());
    record("carol")->setValues("TavloSettings", {"<plist/>"});
  }

  std::shared_ptr<WorldRecord> record(std::string_view name) {
    return mWorld->directory().node(cast::kLocalNode)->record("Users", name);
  }

  void setLimit(LoginLimit limit) { mWorld->parentalControls().setLimit(1002, limit); }

  static std::shared_ptr<CachedUser> carol() { return cachedUserForUID(1002); }

  const Date mEvening = WorldClock::kStart + std::chrono::hours(20);
};

TEST_F(KinwatchStatus, AnAccountThatIsNotManagedIsAllowedAndNotAskedAbout) {
  mWorld->parentalControls().setLimit(1001, {false, 3, mEvening});
  const auto bob = cachedUserForUID(1001);
  EXPECT_TRUE(bob->kinwatchAllowsLogin());
  EXPECT_EQ(bob->kinwatchNextCurfewTime(), std::nullopt);
  EXPECT_TRUE(calls("mayLogInNow").empty());
}

TEST_F(KinwatchStatus, EmptySettingsAreNotManaged) {
  setLimit({false, 3, mEvening});
  record("carol")->setValues("TavloSettings", {""});
  EXPECT_TRUE(carol()->kinwatchAllowsLogin());
  record("carol")->setValues("TavloSettings", {});
  EXPECT_TRUE(carol()->kinwatchAllowsLogin());
  EXPECT_TRUE(calls("mayLogInNow").empty());
}

TEST_F(KinwatchStatus, AManagedAccountIsAskedAboutByItsUserIDWhenItsUserIsMade) {
  const auto user = carol();
  ASSERT_EQ(calls("mayLogInNow").size(), 1U);
  EXPECT_EQ(calls("mayLogInNow")[0].arguments.at("userID"), Value(1002));
  EXPECT_TRUE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), std::nullopt);
}

TEST_F(KinwatchStatus, AnAllowedUserMayHaveACurfew) {
  setLimit({true, 0, mEvening});
  const auto user = carol();
  EXPECT_TRUE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), mEvening);
}

TEST_F(KinwatchStatus, AnAllowedUsersResultCodeMeansNothing) {
  setLimit({true, 3, {}});
  EXPECT_TRUE(carol()->kinwatchAllowsLogin());
}

TEST_F(KinwatchStatus, ARefusedUserHasTheDateThatTheServiceGave) {
  setLimit({false, 3, mEvening});
  const auto user = carol();
  EXPECT_FALSE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), mEvening);
}

TEST_F(KinwatchStatus, ARefusedUserMayHaveNoDate) {
  setLimit({false, -7, {}});
  const auto user = carol();
  EXPECT_FALSE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), std::nullopt);
}

TEST_F(KinwatchStatus, ARefusalWithResultZeroReadsAsAllowed) {
  setLimit({false, 0, mEvening});
  const auto user = carol();
  EXPECT_TRUE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), mEvening);
}

TEST_F(KinwatchStatus, KeepsTheLastAnswerUntilItIsUpdated) {
  setLimit({false, 3, mEvening});
  const auto user = carol();
  setLimit({true, 0, {}});
  EXPECT_FALSE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), mEvening);
  user->kinwatchStatusUpdated();
  EXPECT_TRUE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), std::nullopt);
}

TEST_F(KinwatchStatus, ForgetsTheAnswerOfAnAccountThatIsNoLongerManaged) {
  setLimit({false, 3, mEvening});
  const auto user = carol();
  record("carol")->removeAttribute("TavloSettings");
  user->updateUserAttributes();
  user->kinwatchStatusUpdated();
  EXPECT_TRUE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), std::nullopt);
}

TEST_F(KinwatchStatus, AnOtherUserIsAllowedAndNotAskedAbout) {
  const auto user = CachedUser::cachedOtherUser("carol");
  user->kinwatchStatusUpdated();
  EXPECT_TRUE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), std::nullopt);
  EXPECT_TRUE(calls("mayLogInNow").empty());
}

TEST_F(KinwatchStatus, AFailureOfTheServiceKeepsTheLastAnswerAndReachesTheCaller) {
  setLimit({false, 3, mEvening});
  const auto user = carol();
  fail({{"mayLogInNow", Fault::Kind::PlatformException, {}, {}}});
  EXPECT_THROW(user->kinwatchStatusUpdated(), PlatformException);
  EXPECT_FALSE(user->kinwatchAllowsLogin());
  EXPECT_EQ(user->kinwatchNextCurfewTime(), mEvening);
}

}  // namespace
}  // namespace gatehall
