#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "greeter/machine/Keyboard.h"
#include "linux/loop/MainLoop.h"
#include "tests/linux/Driving.h"
#include "tests/linux/bus/fixture/ChildProcess.h"

namespace gatehall::greeter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A keyboard of an X server in memory.
class KeyboardTest : public testing::Test {
 protected:
  void setUp(const std::string& layouts, const std::string& variants = "") {
    ChildProcess({"setxkbmap", "-display", mDisplay, "-layout", layouts, "-variant", variants})
        .finish();
  }
  void press(const std::string& key) {
    ChildProcess({"env", "DISPLAY=" + mDisplay, "xdotool", "key", key}).finish();
  }
  bool isThere() {
    return driveUntil(mLoop, [this] { return mKeyboard != nullptr; });
  }
  bool isTold(const std::function<bool()>& condition) {
    return driveUntil(mLoop, [&] { return mChanges > 0 && condition(); });
  }

  ChildProcess mServer{
      {"Xvfb", "-displayfd", "1", "-screen", "0", "64x64x24", "-nolisten", "tcp", "-noreset"}};
  std::string mDisplay = ":" + mServer.readLine();
  std::string mWanted = mDisplay;
  int mChanges = 0;
  std::unique_ptr<Keyboard> mKeyboard;
  MainLoop mLoop{std::this_thread::get_id(), [this](EventLoop& events) {
                   mKeyboard = std::make_unique<Keyboard>(events, mWanted.c_str(), "C",
                                                          [this] { ++mChanges; });
                 }};
};

TEST_F(KeyboardTest, HasTheLayoutsThatItIsSetUpWith) {
  setUp("us,de", ",nodeadkeys");
  ASSERT_TRUE(isThere());
  EXPECT_THAT(mKeyboard->layouts(),
              ElementsAre(KeyboardLayout{"us", "", "English (US)"},
                          KeyboardLayout{"de", "nodeadkeys", "German (no dead keys)"}));
  EXPECT_EQ(mKeyboard->current(), 0U);
}

TEST_F(KeyboardTest, SwitchesBetweenItsLayouts) {
  setUp("us,de");
  ASSERT_TRUE(isThere());
  mKeyboard->use(1);
  EXPECT_EQ(mKeyboard->current(), 1U);
  EXPECT_EQ(mChanges, 1);
  mKeyboard->use(7);
  EXPECT_EQ(mKeyboard->current(), 1U);
  mKeyboard->use(0);
  EXPECT_EQ(mKeyboard->current(), 0U);
}

TEST_F(KeyboardTest, FollowsHowItIsSetUp) {
  ASSERT_TRUE(isThere());
  setUp("fr");
  ASSERT_TRUE(isTold([this] { return mKeyboard->layouts().front().code == "fr"; }));
}

TEST_F(KeyboardTest, TellsOfCapsLock) {
  ASSERT_TRUE(isThere());
  EXPECT_FALSE(mKeyboard->hasCapsLock());
  press("Caps_Lock");
  ASSERT_TRUE(isTold([this] { return mKeyboard->hasCapsLock(); }));
  press("Caps_Lock");
  ASSERT_TRUE(isTold([this] { return !mKeyboard->hasCapsLock(); }));
}

TEST_F(KeyboardTest, HasNoLayoutsWithoutADisplay) {
  mWanted = ":nowhere";
  ASSERT_TRUE(isThere());
  EXPECT_THAT(mKeyboard->layouts(), IsEmpty());
  EXPECT_EQ(mKeyboard->current(), 0U);
  EXPECT_FALSE(mKeyboard->hasCapsLock());
  mKeyboard->use(0);
}

}  // namespace
}  // namespace gatehall::greeter
