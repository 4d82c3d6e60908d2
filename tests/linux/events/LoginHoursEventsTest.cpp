#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "gatehall/platform/NotificationNames.h"
#include "linux/events/LoginHoursEvents.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LoginHoursEventsTest : public testing::Test {
 protected:
  LoginHoursEventsTest() {
    mMachine.write("/etc/passwd",
                   "bob:x:1001:1001::/home/bob:/bin/sh\n"
                   "carol:x:1002:1002::/home/carol:/bin/sh\n");
    mCenter.addObserver(this, kKinwatchLoginStatusChangedNotification,
                        [this](const Notification& notification) {
                          mTold.push_back(*notification.userInfo->at("userName").string());
                        });
  }
  ~LoginHoursEventsTest() override { mLoop.endThreads(); }

  Date in(double seconds) { return mMachine.clock.now() + std::chrono::duration<double>(seconds); }

  Machine mMachine;
  LocalNotificationCenter mCenter;
  MainLoop mLoop{std::this_thread::get_id(), [](EventLoop&) {}};
  LoginHoursEvents mEvents{
      mLoop, mMachine.clock,
      AccountNotifications(mLoop, mMachine.directory(), mCenter, mMachine.log)};
  Strings mTold;
};

TEST_F(LoginHoursEventsTest, TellOfAUserWhenTheMomentComes) {
  mEvents.expect(1002, in(1000));
  mEvents.expect(1001, in(0.1));
  driveFor(mLoop, 0.2);
  EXPECT_THAT(mTold, IsEmpty()) << "it was told by another clock";
  mMachine.clock.seconds += 1;
  EXPECT_TRUE(driveUntil(mLoop, [&] { return !mTold.empty(); }));
  driveFor(mLoop, 0.1);
  EXPECT_THAT(mTold, ElementsAre("bob"));
}

TEST_F(LoginHoursEventsTest, TellOnceHoweverOftenTheMomentIsTold) {
  for (int time = 0; time < 3; ++time) mEvents.expect(1001, in(0.01));
  mMachine.clock.seconds += 1;
  EXPECT_TRUE(driveUntil(mLoop, [&] { return !mTold.empty(); }));
  driveFor(mLoop, 0.1);
  EXPECT_THAT(mTold, ElementsAre("bob"));
  mEvents.expect(1002, in(-5));
  EXPECT_TRUE(driveUntil(mLoop, [&] { return mTold.size() > 1; }));
  EXPECT_THAT(mTold, ElementsAre("bob", "carol"));
}

TEST_F(LoginHoursEventsTest, TellNobodyOfAUserWhoIsGone) {
  mEvents.expect(4711, in(-1));
  driveFor(mLoop, 0.2);
  EXPECT_THAT(mTold, IsEmpty());
  EXPECT_THAT(mMachine.log.lines(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
