#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <string>
#include <vector>

#include "linux/bus/BusWatch.h"
#include "linux/loop/MainLoop.h"
#include "tests/Patience.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/BusPeer.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

// Calls over the connection that listens to the bus.

namespace gatehall {
namespace {

BusMethod ofTheBus(const char* member) {
  return {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member};
}

class BusCallTest : public testing::Test {
 protected:
  /// Listens from the loop's first drive on.
  bool connect() {
    return driveUntil(mLoop, [this] { return mConnections > 0; });
  }

  void call(const BusMethod& method, const BusArguments& arguments = {},
            std::chrono::microseconds limit = kPatience) {
    mWatch->call(method, arguments, limit,
                 [this](const BusAnswer& answer) { mAnswers.push_back(answer); });
  }

  bool isAnswered() {
    return driveUntil(mLoop, [this] { return !mAnswers.empty(); });
  }

  PrivateBus mBus;
  KeptLog mLog;
  int mConnections = 0;
  std::vector<BusAnswer> mAnswers;
  Strings mWhysAway;
  MainLoop mLoop{
      std::this_thread::get_id(), [this](EventLoop& events) {
        mWatch.emplace(
            mLoop, events,
            HostOptions{.root = "", .systemBusAddress = mBus.address(), .callTimeout = kPatience},
            mLog);
        mWatch->follow("org.example.Nobody", [](bool) {});
        mWatch->start([this](bool) { ++mConnections; },
                      [this](const std::string& why) { mWhysAway.push_back(why); });
      }};
  std::optional<BusWatch> mWatch;
};

TEST_F(BusCallTest, TheHandlerIsGivenTheAnswersValues) {
  ASSERT_TRUE(connect());
  call(ofTheBus("NameHasOwner"), {"org.example.Nobody"});
  ASSERT_TRUE(isAnswered());
  EXPECT_EQ(mAnswers.front().error, "");
  EXPECT_EQ(mAnswers.front().values, Array{false});
}

TEST_F(BusCallTest, ABusThatGoesIsToldOnce) {
  ASSERT_TRUE(connect());
  EXPECT_TRUE(mWhysAway.empty());
  mBus.end();
  ASSERT_TRUE(driveUntil(mLoop, [this] { return !mWhysAway.empty(); }));
  mBus.begin();
  ASSERT_TRUE(driveUntil(mLoop, [this] { return mConnections == 2; }));
  EXPECT_THAT(mWhysAway, testing::ElementsAre("it ended the connection"));
}

TEST_F(BusCallTest, ABusThatIsNotThereAtFirstIsToldOnce) {
  mBus.end();
  ASSERT_TRUE(driveUntil(mLoop, [this] { return !mWhysAway.empty(); }));
  mBus.begin();
  ASSERT_TRUE(connect());
  EXPECT_EQ(mWhysAway.size(), 1U);
}

TEST_F(BusCallTest, NumbersAreSentAsTheyAre) {
  ASSERT_TRUE(connect());
  call(ofTheBus("RequestName"), {"org.example.Somebody", std::uint32_t{4}});
  ASSERT_TRUE(isAnswered());
  EXPECT_EQ(mAnswers.front().values, Array{1});
}

TEST_F(BusCallTest, AnErrorHasItsNameAndText) {
  ASSERT_TRUE(connect());
  call(ofTheBus("GetNameOwner"), {"org.example.Nobody"});
  ASSERT_TRUE(isAnswered());
  EXPECT_EQ(mAnswers.front().error, "org.freedesktop.DBus.Error.NameHasNoOwner");
  EXPECT_THAT(mAnswers.front().text, testing::HasSubstr("org.example.Nobody"));
  EXPECT_TRUE(mAnswers.front().values.empty());
}

TEST_F(BusCallTest, WithoutAnAnswerInTimeThereIsAnError) {
  ASSERT_TRUE(connect());
  mBus.freeze();
  call(ofTheBus("GetId"), {}, std::chrono::milliseconds(1));
  EXPECT_TRUE(isAnswered());
  EXPECT_NE(mAnswers.front().error, "");
  mBus.thaw();
}

TEST_F(BusCallTest, TheLimitHoldsWhenTheDescriptorAloneDrivesTheLoop) {
  BusPeer peer(mBus.address());
  peer.own("org.example.Mute");
  ASSERT_TRUE(connect());
  const int descriptor = mLoop.descriptor();
  const auto dispatchWhenReadable = [&](int milliseconds) {
    pollfd event{descriptor, POLLIN, 0};
    if (poll(&event, 1, milliseconds) <= 0) return false;
    mLoop.dispatch();
    return true;
  };
  while (dispatchWhenReadable(0)) {
  }
  call({"org.example.Mute", "/", "org.example.Mute", "Never"}, {}, std::chrono::milliseconds(50));
  while (mAnswers.empty()) ASSERT_TRUE(dispatchWhenReadable(kPatienceMilliseconds));
  EXPECT_NE(mAnswers.front().error, "");
}

TEST_F(BusCallTest, WithoutABusThereIsAnErrorAtOnce) {
  mBus.end();
  mLoop.dispatch();
  call(ofTheBus("GetId"));
  ASSERT_TRUE(isAnswered());
  EXPECT_NE(mAnswers.front().error, "");
  mBus.begin();
}

TEST_F(BusCallTest, ACallThatWaitsWhenTheBusGoesIsAnsweredOnce) {
  BusPeer peer(mBus.address());
  peer.own("org.example.Mute");
  ASSERT_TRUE(connect());
  call({"org.example.Mute", "/", "org.example.Mute", "Never"});
  mLoop.dispatch();
  mBus.end();
  ASSERT_TRUE(isAnswered());
  EXPECT_NE(mAnswers.front().error, "");
  mBus.begin();
  ASSERT_TRUE(driveUntil(mLoop, [this] { return mConnections > 1; }));
  EXPECT_EQ(mAnswers.size(), 1U);
}

}  // namespace
}  // namespace gatehall
