#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "gatehall/users/KinwatchMonitor.h"
#include "gatehall/users/UserLookup.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

constexpr int kRounds = 200;

class CountingTarget : public KinwatchTarget {
 public:
  /// Under the monitor's lock, so a plain number does.
  void userStatusChanged(std::optional<std::string_view>) override { ++mTold; }
  int mTold = 0;
};

class KinwatchMonitorThreads : public InstalledWorld {};

TEST_F(KinwatchMonitorThreads, TargetsComeAndGoOnSeveralThreadsWhileOthersNotify) {
  KinwatchMonitor monitor;
  CountingTarget kept;
  monitor.addTarget(&kept);
  const auto comeAndGo = [&] {
    for (int round = 0; round < kRounds; ++round) {
      CountingTarget target;
      monitor.addTarget(&target);
      monitor.removeTarget(&target);
    }
  };
  const auto notify = [&] {
    for (int round = 0; round < kRounds; ++round) monitor.notifyTargetsAboutUser("bob");
  };
  std::vector<std::thread> threads;
  for (int count = 0; count < 2; ++count) {
    threads.emplace_back(comeAndGo);
    threads.emplace_back(notify);
  }
  for (auto& each : threads) each.join();
  EXPECT_EQ(kept.mTold, 2 * kRounds);
}

TEST_F(KinwatchMonitorThreads, NobodyIsToldOnceItsRemovalHasReturned) {
  KinwatchMonitor monitor;
  std::atomic<bool> done = false;
  std::thread notifier([&] {
    while (!done) monitor.notifyTargetsAboutUser("bob");
  });
  for (int round = 0; round < kRounds; ++round) {
    CountingTarget target;
    monitor.addTarget(&target);
    monitor.removeTarget(&target);
    const int told = target.mTold;
    std::this_thread::yield();
    EXPECT_EQ(target.mTold, told);
  }
  done = true;
  notifier.join();
}

TEST_F(KinwatchMonitorThreads, ListsAreFilledSortedAndDestroyedOnThreadsWhileUsersAreRefreshed) {
  install(cast::machineOfAll());
  mWorld->directory()
      .node(cast::kLocalNode)
      ->record("Users", "bob")
      ->setValues("TavloSettings", {"limits"});
  const auto monitor = KinwatchMonitor::sharedKWMonitor();
  std::atomic<int> building = 2;
  const auto build = [&] {
    for (int round = 0; round < kRounds / 4; ++round) {
      const auto list = cachedUserListForGUIDs(
          Strings{std::string(cast::kCarolGUID), std::string(cast::kBobGUID)});
      list->sortUsingSelector(&CachedUser::cachedUserGUIDCompare);
      list->removeObject(list->objectAtIndex(0));
      EXPECT_EQ(list->count(), 1U);
    }
    --building;
  };
  std::thread one(build);
  std::thread another(build);
  for (int round = 0; building > 0; ++round) {
    mWorld->parentalControls().setLimit(
        1001, {.allowed = round % 2 == 0, .result = 3, .nextCurfew = WorldClock::kStart});
    monitor->notifyTargetsAboutUser("bob");
  }
  one.join();
  another.join();
}

}  // namespace
}  // namespace gatehall
