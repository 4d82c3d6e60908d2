#include <gtest/gtest.h>

#include "gatehall/users/KinwatchMonitor.h"
#include "gatehall/users/UserLookup.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

/// Writes down what it is told, in a diary that several can share.
class Diarist : public KinwatchTarget {
 public:
  Diarist(std::string name, Strings& diary) : mName(std::move(name)), mDiary(diary) {}
  void userStatusChanged(std::optional<std::string_view> name) override {
    mDiary.push_back(mName + ": " + std::string(name.value_or("anybody")));
  }

 private:
  const std::string mName;
  Strings& mDiary;
};

class KinwatchMonitorTest : public InstalledWorld {
 protected:
  void post(std::optional<Dictionary> userInfo) {
    mWorld->distributedNotificationCenter().post("KinwatchLoginStatusChangedNotification",
                                                 std::move(userInfo));
    mWorld->runLoop().pump();
  }

  Strings mDiary;
  Diarist mFirst{"first", mDiary};
  Diarist mSecond{"second", mDiary};
};

TEST_F(KinwatchMonitorTest, IsOneInstanceAProcessUntilAnotherHostIsInstalled) {
  const auto monitor = KinwatchMonitor::sharedKWMonitor();
  EXPECT_EQ(KinwatchMonitor::sharedKWMonitor(), monitor);
  install(std::make_shared<World>());
  EXPECT_NE(KinwatchMonitor::sharedKWMonitor(), monitor);
}

TEST_F(KinwatchMonitorTest, PassesAPostedNameToItsTargetsInTheOrderOfRegistration) {
  const auto monitor = KinwatchMonitor::sharedKWMonitor();
  monitor->addTarget(&mSecond);
  monitor->addTarget(&mFirst);
  post(Dictionary{{"userName", "bob"}});
  EXPECT_EQ(mDiary, (Strings{"second: bob", "first: bob"}));
  post(Dictionary{{"userName", "carol"}, {"more", 1}});
  EXPECT_EQ(mDiary, (Strings{"second: bob", "first: bob", "second: carol", "first: carol"}));
}

TEST_F(KinwatchMonitorTest, HearsEachNotificationOnceHoweverOftenItWasAskedFor) {
  KinwatchMonitor::sharedKWMonitor();
  KinwatchMonitor::sharedKWMonitor()->addTarget(&mFirst);
  post(Dictionary{{"userName", "bob"}});
  EXPECT_EQ(mDiary, Strings{"first: bob"});
}

TEST_F(KinwatchMonitorTest, IgnoresANotificationWithoutUserInfoOrUserName) {
  KinwatchMonitor::sharedKWMonitor()->addTarget(&mFirst);
  post(std::nullopt);
  post(Dictionary{});
  post(Dictionary{{"username", "bob"}});
  EXPECT_TRUE(mDiary.empty());
}

TEST_F(KinwatchMonitorTest, IgnoresAUserNameThatIsNoText) {
  KinwatchMonitor::sharedKWMonitor()->addTarget(&mFirst);
  post(Dictionary{{"userName", 7}});
  EXPECT_TRUE(mDiary.empty());
}

TEST_F(KinwatchMonitorTest, PassesOnAnEmptyName) {
  KinwatchMonitor::sharedKWMonitor()->addTarget(&mFirst);
  post(Dictionary{{"userName", ""}});
  EXPECT_EQ(mDiary, Strings{"first: "});
}

TEST_F(KinwatchMonitorTest, HearsNothingOfOtherNamesAndOfTheInProcessCentre) {
  KinwatchMonitor::sharedKWMonitor()->addTarget(&mFirst);
  const Dictionary bob{{"userName", "bob"}};
  mWorld->distributedNotificationCenter().post("AnotherNotification", bob);
  mWorld->notificationCenter().post("KinwatchLoginStatusChangedNotification", bob);
  mWorld->runLoop().pump();
  EXPECT_TRUE(mDiary.empty());
}

TEST_F(KinwatchMonitorTest, KeepsATargetThatIsAddedTwiceOnce) {
  KinwatchMonitor monitor;
  monitor.addTarget(&mFirst);
  monitor.addTarget(&mFirst);
  monitor.notifyTargetsAboutUser("bob");
  EXPECT_EQ(mDiary, Strings{"first: bob"});
  monitor.removeTarget(&mFirst);
  monitor.notifyTargetsAboutUser("bob");
  EXPECT_EQ(mDiary, Strings{"first: bob"});
}

TEST_F(KinwatchMonitorTest, KeepsTheOthersWhenOneIsRemoved) {
  KinwatchMonitor monitor;
  monitor.addTarget(&mFirst);
  monitor.addTarget(&mSecond);
  monitor.removeTarget(&mFirst);
  monitor.notifyTargetsAboutUser("bob");
  EXPECT_EQ(mDiary, Strings{"second: bob"});
}

TEST_F(KinwatchMonitorTest, PutsATargetThatComesBackAtTheEnd) {
  KinwatchMonitor monitor;
  monitor.addTarget(&mFirst);
  monitor.addTarget(&mSecond);
  monitor.removeTarget(&mFirst);
  monitor.addTarget(&mFirst);
  monitor.notifyTargetsAboutUser("bob");
  EXPECT_EQ(mDiary, (Strings{"second: bob", "first: bob"}));
}

TEST_F(KinwatchMonitorTest, ServesAgainAfterItsLastTargetWent) {
  KinwatchMonitor monitor;
  monitor.addTarget(&mFirst);
  monitor.removeTarget(&mFirst);
  monitor.notifyTargetsAboutUser("bob");
  monitor.addTarget(&mSecond);
  monitor.notifyTargetsAboutUser("carol");
  EXPECT_EQ(mDiary, Strings{"second: carol"});
}

TEST_F(KinwatchMonitorTest, IgnoresTheRemovalOfWhatWasNeverAdded) {
  KinwatchMonitor monitor;
  monitor.removeTarget(&mFirst);
  monitor.addTarget(&mSecond);
  monitor.removeTarget(&mFirst);
  monitor.removeTarget(nullptr);
  monitor.notifyTargetsAboutUser("bob");
  EXPECT_EQ(mDiary, Strings{"second: bob"});
}

TEST_F(KinwatchMonitorTest, SkipsAnAbsentTarget) {
  KinwatchMonitor monitor;
  monitor.addTarget(&mFirst);
  monitor.addTarget(nullptr);
  monitor.addTarget(&mSecond);
  monitor.notifyTargetsAboutUser("bob");
  EXPECT_EQ(mDiary, (Strings{"first: bob", "second: bob"}));
}

TEST_F(KinwatchMonitorTest, TellsNobodyWithoutAName) {
  KinwatchMonitor monitor;
  monitor.addTarget(&mFirst);
  monitor.notifyTargetsAboutUser(std::nullopt);
  EXPECT_TRUE(mDiary.empty());
}

TEST_F(KinwatchMonitorTest, IsFineWithoutTargets) {
  KinwatchMonitor monitor;
  monitor.notifyTargetsAboutUser("bob");
  KinwatchMonitor::sharedKWMonitor();
  post(Dictionary{{"userName", "bob"}});
}

class KinwatchMonitorAndLists : public KinwatchMonitorTest {
 protected:
  KinwatchMonitorAndLists() {
    install(cast::machineOfAll());
    const auto local = mWorld->directory().node(cast::kLocalNode);
    local->record("Users", "bob")->setValues("TavloSettings", {"limits"});
    local->record("Users", "carol")->setValues("TavloSettings", {"limits"});
  }

  void refuse(std::uint32_t userID) {
    mWorld->parentalControls().setLimit(userID, {.allowed = false, .result = 3, .nextCurfew = {}});
  }

  static std::shared_ptr<CachedUserList> listOf(Strings guids) {
    return cachedUserListForGUIDs(std::move(guids));
  }
  static inline const std::string kBob{cast::kBobGUID};
  static inline const std::string kCarol{cast::kCarolGUID};
};

TEST_F(KinwatchMonitorAndLists, EveryListRefreshesItsUser) {
  const auto one = listOf({kBob});
  const auto another = listOf({kBob});
  refuse(1001);
  EXPECT_TRUE(one->objectAtIndex(0)->kinwatchAllowsLogin());
  post(Dictionary{{"userName", "bob"}});
  EXPECT_FALSE(one->objectAtIndex(0)->kinwatchAllowsLogin());
  EXPECT_FALSE(another->objectAtIndex(0)->kinwatchAllowsLogin());
}

TEST_F(KinwatchMonitorAndLists, AListRefreshesItsUsersUpToTheOneThatWasNamed) {
  const auto list = listOf({kCarol, kBob});
  refuse(1001);
  refuse(1002);
  post(Dictionary{{"userName", "carol"}});
  EXPECT_FALSE(list->objectAtIndex(0)->kinwatchAllowsLogin());
  EXPECT_TRUE(list->objectAtIndex(1)->kinwatchAllowsLogin());
}

TEST_F(KinwatchMonitorAndLists, AListThatIsGoneIsNotTold) {
  const auto kept = listOf({kBob});
  auto gone = listOf({kBob});
  const auto user = gone->objectAtIndex(0);
  gone = nullptr;
  refuse(1001);
  post(Dictionary{{"userName", "bob"}});
  EXPECT_TRUE(user->kinwatchAllowsLogin());
  EXPECT_FALSE(kept->objectAtIndex(0)->kinwatchAllowsLogin());
}

TEST_F(KinwatchMonitorAndLists, AListOfAnEarlierHostIsNotToldAndMayGoLater) {
  const auto list = listOf({kBob});
  const auto earlier = mWorld;
  install(std::make_shared<World>());
  earlier->parentalControls().setLimit(1001, {.allowed = false, .result = 3, .nextCurfew = {}});
  earlier->distributedNotificationCenter().post("KinwatchLoginStatusChangedNotification",
                                                Dictionary{{"userName", "carol"}});
  post(Dictionary{{"userName", "bob"}});
  EXPECT_TRUE(list->objectAtIndex(0)->kinwatchAllowsLogin());
}

}  // namespace
}  // namespace gatehall
