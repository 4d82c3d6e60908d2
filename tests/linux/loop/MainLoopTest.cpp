#include <atomic>
#include <csignal>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <vector>

#include "linux/loop/MainLoop.h"
#include "tests/linux/Driving.h"
#include "tests/platform/contracts/NoServices.h"
#include "tests/platform/contracts/RunLoopContract.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

class AnySource final : public RunLoopSource {};

class MainLoopTest : public testing::Test {
 protected:
  bool isQuiet() {
    pollfd event{mLoop.descriptor(), POLLIN, 0};
    return poll(&event, 1, 0) == 0;
  }

  int mStarts = 0;
  MainLoop mLoop{std::this_thread::get_id(), [this](EventLoop&) { ++mStarts; }};
};

TEST_F(MainLoopTest, BeginsToListenWithTheFirstDriveAndOnce) {
  mLoop.performAfterDelay(0, [] {});
  mLoop.addSource(std::make_shared<AnySource>(), RunLoopMode::Default);
  EXPECT_EQ(mStarts, 0);
  mLoop.dispatch();
  mLoop.dispatch();
  mLoop.descriptor();
  EXPECT_EQ(mStarts, 1);
}

TEST_F(MainLoopTest, TellsByItsDescriptorOfWhatWasThereBefore) {
  mLoop.post([] {});
  EXPECT_TRUE(hasSomethingToDo(mLoop));
  mLoop.dispatch();
  EXPECT_TRUE(isQuiet());
}

TEST_F(MainLoopTest, TellsByItsDescriptorOfATaskOfAnotherThread) {
  bool ran = false;
  EXPECT_TRUE((mLoop.dispatch(), isQuiet()));
  std::thread other([&] { mLoop.post([&] { ran = true; }); });
  EXPECT_TRUE(hasSomethingToDo(mLoop));
  mLoop.dispatch();
  EXPECT_TRUE(ran);
  other.join();
}

TEST_F(MainLoopTest, TellsByItsDescriptorOfADelayedTask) {
  bool ran = false;
  mLoop.performAfterDelay(0.02, [&] { ran = true; });
  while (!ran && hasSomethingToDo(mLoop)) mLoop.dispatch();
  EXPECT_TRUE(ran);
  EXPECT_TRUE(isQuiet());
}

TEST_F(MainLoopTest, TellsByItsDescriptorOfADelayedTaskThatIsRequestedBetweenDispatches) {
  mLoop.performAfterDelay(1000, [] {});
  mLoop.dispatch();
  bool ran = false;
  mLoop.performAfterDelay(0.02, [&] { ran = true; });
  while (!ran && hasSomethingToDo(mLoop)) mLoop.dispatch();
  EXPECT_TRUE(ran);
}

TEST_F(MainLoopTest, GivesTheProgramsLoopItsTurnHoweverMuchThereIsToDo) {
  int runs = 0;
  std::function<void()> again = [&] {
    ++runs;
    mLoop.post(again);
  };
  mLoop.post(again);
  mLoop.dispatch();
  EXPECT_GT(runs, 0);
  EXPECT_TRUE(hasSomethingToDo(mLoop));
  again = [] {};
  mLoop.dispatch();
}

TEST_F(MainLoopTest, TellsByItsDescriptorOfTasksThatItLeavesForItsNextTurn) {
  constexpr int kTasks = 1000;
  int runs = 0;
  for (int task = 0; task < kTasks; ++task) mLoop.post([&] { ++runs; });
  mLoop.dispatch();
  EXPECT_LT(runs, kTasks);
  while (runs < kTasks && hasSomethingToDo(mLoop)) mLoop.dispatch();
  EXPECT_EQ(runs, kTasks);
}

TEST_F(MainLoopTest, MayBeDispatchedFromATask) {
  std::vector<int> ran;
  mLoop.post([&] {
    mLoop.post([&] { ran.push_back(1); });
    mLoop.dispatch(RunLoopMode::Common);
    ran.push_back(2);
  });
  mLoop.dispatch();
  EXPECT_THAT(ran, ElementsAre(1, 2));
  mLoop.post([&] { ran.push_back(3); });
  EXPECT_TRUE(hasSomethingToDo(mLoop));
  mLoop.dispatch();
  EXPECT_THAT(ran, ElementsAre(1, 2, 3));
}

TEST_F(MainLoopTest, LetsASourceOfTheDefaultModeWaitForAModalPanelToClose) {
  const auto everywhere = std::make_shared<AnySource>();
  const auto byDefault = std::make_shared<AnySource>();
  mLoop.addSource(everywhere, RunLoopMode::Common);
  mLoop.addSource(byDefault, RunLoopMode::Default);
  std::vector<int> ran;
  mLoop.signal(byDefault, [&] { ran.push_back(1); });
  mLoop.signal(everywhere, [&] { ran.push_back(2); });
  mLoop.dispatch(RunLoopMode::Common);
  EXPECT_THAT(ran, ElementsAre(2));
  mLoop.dispatch();
  EXPECT_THAT(ran, ElementsAre(2, 1));
}

TEST_F(MainLoopTest, DropsWhatComesFromASourceThatIsTakenOut) {
  const auto source = std::make_shared<AnySource>();
  int ran = 0;
  mLoop.signal(source, [&] { ++ran; });
  mLoop.addSource(source, RunLoopMode::Default);
  mLoop.signal(source, [&] { ++ran; });
  mLoop.removeSource(source, RunLoopMode::Default);
  mLoop.dispatch();
  EXPECT_EQ(ran, 0);
}

TEST_F(MainLoopTest, TakesDelaysThatAreNone) {
  std::vector<int> ran;
  mLoop.performAfterDelay(-5, [&] { ran.push_back(1); });
  mLoop.performAfterDelay(std::nan(""), [&] { ran.push_back(2); });
  mLoop.performAfterDelay(INFINITY, [&] { ran.push_back(3); });
  mLoop.performAfterDelay(1e300, [&] { ran.push_back(4); });
  driveFor(mLoop, 0.01);
  EXPECT_THAT(ran, ElementsAre(1, 2));
}

TEST_F(MainLoopTest, RunsUntilTheProcessIsAskedToEnd) {
  for (const int request : {SIGINT, SIGTERM}) {
    bool asked = false;
    mLoop.performAfterDelay(0.01, [&] {
      asked = true;
      kill(getpid(), request);
    });
    mLoop.runUntilInterrupted();
    EXPECT_TRUE(asked);
  }
}

TEST_F(MainLoopTest, RunsUntilItIsStopped) {
  std::atomic<bool> isSlept = false;
  mLoop.detachNewThread([&] {
    mLoop.sleep(0.01);
    isSlept = true;
    mLoop.stop();
  });
  mLoop.runUntilInterrupted();
  EXPECT_TRUE(isSlept);
  mLoop.stop();
  mLoop.runUntilInterrupted();
  mLoop.dispatch();
}

TEST_F(MainLoopTest, RunsWhatAnotherThreadWaitsFor) {
  std::thread::id ranOn;
  std::atomic<bool> isDone = false;
  std::thread other([&] {
    mLoop.performOnMainThreadAndWait([&] { ranOn = std::this_thread::get_id(); });
    isDone = true;
  });
  EXPECT_TRUE(driveUntil(mLoop, [&] { return isDone.load(); }));
  other.join();
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

/// Says when it goes.
class Guard {
 public:
  explicit Guard(std::atomic<int>& ended) : mEnded(ended) {}
  ~Guard() { ++mEnded; }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  std::atomic<int>& mEnded;
};

TEST_F(MainLoopTest, EndsItsThreadsWhereTheyWait) {
  std::atomic<int> begun = 0;
  std::atomic<int> ended = 0;
  std::atomic<bool> wentOn = false;
  bool ran = false;
  mLoop.detachNewThread([&] {
    const Guard guard(ended);
    ++begun;
    mLoop.sleep(1000);
    wentOn = true;
  });
  mLoop.detachNewThread([&] {
    const Guard guard(ended);
    ++begun;
    mLoop.performOnMainThreadAndWait([&] { ran = true; });
    wentOn = true;
  });
  while (begun < 2) std::this_thread::yield();
  mLoop.endThreads();
  EXPECT_EQ(ended, 2);
  EXPECT_FALSE(wentOn);
  mLoop.dispatch();
  EXPECT_FALSE(ran);
}

TEST_F(MainLoopTest, HasNewThreadsAfterItsThreadsEnded) {
  mLoop.endThreads();
  std::atomic<bool> isDone = false;
  mLoop.detachNewThread([&] {
    mLoop.sleep(0.001);
    mLoop.performOnMainThreadAndWait([] {});
    isDone = true;
  });
  EXPECT_TRUE(driveUntil(mLoop, [&] { return isDone.load(); }));
}

TEST_F(MainLoopTest, LeavesTheProcesssSignalsToTheProgramsOwnThreads) {
  std::atomic<bool> isHeldBack = false;
  mLoop.detachNewThread([&] {
    sigset_t held;
    pthread_sigmask(SIG_SETMASK, nullptr, &held);
    isHeldBack = sigismember(&held, SIGTERM) == 1 && sigismember(&held, SIGCHLD) == 1;
  });
  mLoop.endThreads();
  EXPECT_TRUE(isHeldBack);
  sigset_t held;
  pthread_sigmask(SIG_SETMASK, nullptr, &held);
  EXPECT_EQ(sigismember(&held, SIGTERM), 0);
}

TEST_F(MainLoopTest, EndsTheProcessWithATaskThatThrows) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        mLoop.post([] { throw std::runtime_error("thrown by a task"); });
        mLoop.dispatch();
      },
      "");
}

}  // namespace

namespace contracts {
namespace {

class LinuxRunLoopHost final : public RunLoopHost {
 public:
  Platform& platform() override { return mPlatform; }
  void runUntil(const std::function<bool()>& condition) override {
    ASSERT_TRUE(driveUntil(mPlatform.loop, condition));
  }

 private:
  class Host final : public NoServices {
   public:
    RunLoop& runLoop() override { return loop; }
    MainLoop loop{std::this_thread::get_id(), [](EventLoop&) {}};
  };

  Host mPlatform;
};

INSTANTIATE_TEST_SUITE_P(Linux, RunLoopContract, testing::Values(&make<LinuxRunLoopHost>));

}  // namespace
}  // namespace contracts

}  // namespace gatehall
