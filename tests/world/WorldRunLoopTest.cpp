#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

#include "world/World.h"
#include "world/WorldRunLoop.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WorldRunLoopTest : public testing::Test {
 protected:
  double elapsed() const { return (mWorld->clock().now() - mStart).count(); }

  const std::shared_ptr<World> mWorld = std::make_shared<World>();
  WorldRunLoop& mLoop = mWorld->runLoop();
  const Date mStart = mWorld->clock().now();
  std::vector<double> mMoments;
};

TEST_F(WorldRunLoopTest, LetsNoTimePassByItself) {
  mLoop.performAfterDelay(0, [&] { mMoments.push_back(elapsed()); });
  EXPECT_THAT(mMoments, IsEmpty());
  mLoop.pump();
  EXPECT_THAT(mMoments, ElementsAre(0));
}

TEST_F(WorldRunLoopTest, ShowsEachTaskTheMomentItWasRequestedFor) {
  const auto note = [&] { mMoments.push_back(elapsed()); };
  mLoop.performAfterDelay(2, note);
  mLoop.performAfterDelay(1, [&] {
    note();
    mLoop.performAfterDelay(0.5, note);
  });
  mLoop.performAfterDelay(10, note);
  mLoop.advance(5);
  EXPECT_THAT(mMoments, ElementsAre(1, 1.5, 2));
  EXPECT_EQ(elapsed(), 5);
  mLoop.advance(5);
  EXPECT_THAT(mMoments, ElementsAre(1, 1.5, 2, 10));
}

TEST_F(WorldRunLoopTest, CountsDelaysIndependentlyOfTheClock) {
  bool ran = false;
  mLoop.performAfterDelay(1, [&] { ran = true; });
  mWorld->clock().set(mStart - std::chrono::hours(1));
  mLoop.advance(0.5);
  EXPECT_FALSE(ran);
  mLoop.advance(0.5);
  EXPECT_TRUE(ran);
  EXPECT_EQ(elapsed(), -3599);
}

TEST_F(WorldRunLoopTest, StartsADetachedThreadOnlyWhenTold) {
  std::optional<std::thread::id> ranOn;
  mLoop.detachNewThread([&] { ranOn = std::this_thread::get_id(); });
  mLoop.advance(10);
  EXPECT_FALSE(ranOn);
  mLoop.runDetachedThreads();
  ASSERT_TRUE(ranOn);
  EXPECT_NE(*ranOn, std::this_thread::get_id());
}

TEST_F(WorldRunLoopTest, WakesASleepingThreadWhenItsTimeHasCome) {
  bool stop = false;
  mLoop.detachNewThread([&] {
    while (!stop) {
      mMoments.push_back(elapsed());
      mLoop.sleep(1);
    }
  });
  mLoop.runDetachedThreads();
  EXPECT_THAT(mMoments, ElementsAre(0));
  mLoop.advance(2.5);
  EXPECT_THAT(mMoments, ElementsAre(0, 1, 2));
  stop = true;
  mLoop.advance(10);
  EXPECT_EQ(mMoments.size(), 3U);
}

TEST_F(WorldRunLoopTest, RunsAThreadsTaskForTheMainThreadMeanwhile) {
  std::vector<std::thread::id> ranOn;
  const auto note = [&] { ranOn.push_back(std::this_thread::get_id()); };
  mLoop.detachNewThread([&] {
    mLoop.performOnMainThreadAndWait(note);
    mLoop.sleep(1);
    mLoop.performOnMainThreadAndWait(note);
  });
  mLoop.runDetachedThreads();
  EXPECT_EQ(ranOn.size(), 1U);
  mLoop.advance(1);
  EXPECT_THAT(ranOn, ElementsAre(std::this_thread::get_id(), std::this_thread::get_id()));
}

TEST_F(WorldRunLoopTest, RunsThreadsThatThreadsDetach) {
  int ran = 0;
  mLoop.detachNewThread([&] { mLoop.detachNewThread([&] { ++ran; }); });
  mLoop.runDetachedThreads();
  EXPECT_EQ(ran, 1);
}

TEST_F(WorldRunLoopTest, RunsFreeThreadsBesideTheMainThread) {
  mLoop.setThreads(WorldRunLoop::Threads::Free);
  std::atomic<int> ran = 0;
  std::vector<int> onMain;
  for (int thread = 0; thread < 4; ++thread) {
    mLoop.detachNewThread([&, thread] {
      ++ran;
      mLoop.performOnMainThreadAndWait([&, thread] { onMain.push_back(thread); });
      mLoop.sleep(1);
      ++ran;
    });
  }
  mLoop.settle();
  EXPECT_EQ(ran, 4);
  EXPECT_THAT(onMain, testing::UnorderedElementsAre(0, 1, 2, 3));
  mLoop.advance(1);
  mLoop.settle();
  EXPECT_EQ(ran, 8);
}

TEST_F(WorldRunLoopTest, RunsWhatThreadsDoAtTheMomentTheyAreDetached) {
  const auto note = [&] { mMoments.push_back(elapsed()); };
  mLoop.performAfterDelay(1, [&] {
    mLoop.detachNewThread([&] {
      mLoop.performOnMainThreadAndWait(note);
      mLoop.performAfterDelay(1, note);
      mLoop.sleep(0.5);
      note();
    });
  });
  mLoop.run(10);
  EXPECT_THAT(mMoments, ElementsAre(1, 1.5, 2));
  EXPECT_EQ(elapsed(), 10);
}

TEST_F(WorldRunLoopTest, RunsWhatIsReadyWithoutLettingTimePass) {
  int told = 0;
  mWorld->notificationCenter().addObserver(this, "x", [&](const Notification&) { ++told; });
  mLoop.detachNewThread([&] { mWorld->notificationCenter().post("x"); });
  mLoop.run(0);
  EXPECT_EQ(told, 1);
  EXPECT_EQ(elapsed(), 0);
}

TEST_F(WorldRunLoopTest, EndsWaitingThreadsWithTheWorld) {
  struct Guard {
    int& ended;
    ~Guard() { ++ended; }
  };
  int ended = 0;
  {
    World world;
    auto& loop = world.runLoop();
    loop.detachNewThread([&] {
      const Guard guard{ended};
      loop.sleep(1);
      ADD_FAILURE() << "went on after its world";
    });
    loop.runDetachedThreads();
    loop.detachNewThread([] { ADD_FAILURE() << "never started"; });
  }
  EXPECT_EQ(ended, 1);
}

TEST_F(WorldRunLoopTest, EndsItsThreadsAndGoesOnWithoutThem) {
  mLoop.setThreads(WorldRunLoop::Threads::Free);
  std::atomic<int> done = 0;
  mLoop.detachNewThread([&] { ++done; });
  mLoop.detachNewThread([&] {
    mLoop.performOnMainThreadAndWait([&] { done += 100; });
    done += 100;
  });
  mLoop.detachNewThread([&] {
    mLoop.sleep(1);
    done += 100;
  });
  mLoop.endThreads();
  EXPECT_EQ(done, 1);
  mLoop.performAfterDelay(1, [&] { ++done; });
  mLoop.detachNewThread([&] {
    mLoop.sleep(1);
    ++done;
  });
  mLoop.settle();
  mLoop.advance(1);
  mLoop.settle();
  EXPECT_EQ(done, 3);
}

TEST_F(WorldRunLoopTest, LetsTimePassForASleepingMainThreadAndRunsNothing) {
  mLoop.performAfterDelay(1, [&] { mMoments.push_back(elapsed()); });
  mLoop.sleep(3);
  EXPECT_EQ(elapsed(), 3);
  EXPECT_THAT(mMoments, IsEmpty());
  mLoop.pump();
  EXPECT_THAT(mMoments, ElementsAre(3));
}

class SystemNotificationsTest : public WorldRunLoopTest {
 protected:
  std::shared_ptr<RunLoopSource> source() {
    return mWorld->systemNotifications().registerName("com.orvane.test", [this] { ++mHeard; });
  }
  int heardAfterPost(RunLoopMode mode = RunLoopMode::Default) {
    mWorld->systemNotifications().post("com.orvane.test");
    mWorld->systemNotifications().post("com.orvane.other");
    mLoop.pump(mode);
    return std::exchange(mHeard, 0);
  }

  int mHeard = 0;
};

TEST_F(SystemNotificationsTest, CountsASourceOnlyWhileItIsInTheRunLoop) {
  const auto each = source();
  EXPECT_EQ(heardAfterPost(), 0);
  mLoop.addSource(each, RunLoopMode::Default);
  EXPECT_EQ(heardAfterPost(), 1);
  mLoop.addSource(each, RunLoopMode::Default);
  EXPECT_EQ(heardAfterPost(), 1);
  mLoop.removeSource(each, RunLoopMode::Common);
  EXPECT_EQ(heardAfterPost(), 1);
  mWorld->systemNotifications().post("com.orvane.test");
  mLoop.removeSource(each, RunLoopMode::Default);
  EXPECT_EQ(heardAfterPost(), 0);
}

TEST_F(SystemNotificationsTest, HoldsASourceThatNobodyElseKeeps) {
  mLoop.addSource(source(), RunLoopMode::Common);
  EXPECT_EQ(heardAfterPost(), 1);
}

TEST_F(SystemNotificationsTest, HearsOnlyCommonSourcesWhileAPanelIsOpen) {
  mLoop.addSource(source(), RunLoopMode::Default);
  EXPECT_EQ(heardAfterPost(RunLoopMode::Common), 0);
  mLoop.pump();
  EXPECT_EQ(std::exchange(mHeard, 0), 1) << "kept for the default mode";
  mLoop.addSource(source(), RunLoopMode::Common);
  EXPECT_EQ(heardAfterPost(RunLoopMode::Common), 1);
}

TEST_F(SystemNotificationsTest, RegistersNoNameThatIsRefused) {
  mWorld->systemNotifications().refuse("com.orvane.test");
  EXPECT_EQ(source(), nullptr);
}

TEST_F(WorldRunLoopTest, TellsObserversOfTheProcessesOwnCentreApart) {
  int local = 0;
  int distributed = 0;
  const int observer = 0;
  mWorld->notificationCenter().addObserver(&observer, kCurrentLocaleDidChangeNotification,
                                           [&](const Notification&) { ++local; });
  mWorld->distributedNotificationCenter().addObserver(
      &observer, kCurrentLocaleDidChangeNotification, [&](const Notification&) { ++distributed; });
  mWorld->notificationCenter().post(kCurrentLocaleDidChangeNotification);
  mLoop.pump();
  EXPECT_EQ(local, 1);
  EXPECT_EQ(distributed, 0);
}

}  // namespace
}  // namespace gatehall
