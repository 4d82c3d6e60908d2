#pragma once

#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "gatehall/platform/Platform.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall::contracts {

/// A machine whose main run loop the test's own thread runs.
class RunLoopHost {
 public:
  virtual ~RunLoopHost() = default;
  virtual Platform& platform() = 0;

  /// Runs the main run loop, and what threads wait for beside it, until the condition holds; fails
  /// the test when it does not in time.
  virtual void runUntil(const std::function<bool()>& condition) = 0;
};

class RunLoopContract : public testing::TestWithParam<Factory<RunLoopHost>> {
 protected:
  RunLoop& loop() { return mHost->platform().runLoop(); }

  const std::unique_ptr<RunLoopHost> mHost = GetParam()();
};

TEST_P(RunLoopContract, RunsDelayedTasksByTheirMomentsThenByTheirRequests) {
  std::vector<int> ran;
  // So much later that no pause between two requests makes it the earlier one.
  loop().performAfterDelay(1000, [&] { ran.push_back(3); });
  loop().performAfterDelay(0.01, [&] { ran.push_back(1); });
  loop().performAfterDelay(0.01, [&] { ran.push_back(2); });
  EXPECT_THAT(ran, testing::IsEmpty());
  mHost->runUntil([&] { return ran.size() == 2; });
  EXPECT_THAT(ran, testing::ElementsAre(1, 2));
}

TEST_P(RunLoopContract, RunsDelayedTasksOnTheMainThreadWhicheverThreadRequestsThem) {
  std::atomic<bool> done = false;
  std::thread::id ranOn;
  loop().detachNewThread([&] {
    loop().performAfterDelay(0.001, [&] {
      ranOn = std::this_thread::get_id();
      done = true;
    });
  });
  mHost->runUntil([&] { return done.load(); });
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_P(RunLoopContract, RunsATaskThatATaskRequests) {
  int ran = 0;
  loop().performAfterDelay(0, [&] {
    ++ran;
    loop().performAfterDelay(0.001, [&] { ++ran; });
  });
  mHost->runUntil([&] { return ran == 2; });
  EXPECT_EQ(ran, 2);
}

TEST_P(RunLoopContract, RunsATaskForTheMainThreadAtOnceWhenThere) {
  bool ran = false;
  loop().performOnMainThreadAndWait([&] { ran = true; });
  EXPECT_TRUE(ran);
}

TEST_P(RunLoopContract, RunsATaskForTheMainThreadWhileAThreadWaits) {
  std::thread::id ranOn;
  bool ranBeforeReturn = false;
  std::atomic<bool> done = false;
  loop().detachNewThread([&] {
    loop().performOnMainThreadAndWait([&] { ranOn = std::this_thread::get_id(); });
    ranBeforeReturn = ranOn != std::thread::id();
    done = true;
  });
  mHost->runUntil([&] { return done.load(); });
  EXPECT_EQ(ranOn, std::this_thread::get_id());
  EXPECT_TRUE(ranBeforeReturn);
}

TEST_P(RunLoopContract, RunsADetachedThreadBesideTheMainThread) {
  std::thread::id ranOn;
  std::atomic<bool> done = false;
  loop().detachNewThread([&] {
    loop().sleep(0.001);
    ranOn = std::this_thread::get_id();
    done = true;
  });
  mHost->runUntil([&] { return done.load(); });
  EXPECT_NE(ranOn, std::this_thread::get_id());
}

}  // namespace gatehall::contracts
