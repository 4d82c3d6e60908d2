#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "greeter/machine/Power.h"
#include "linux/loop/MainLoop.h"
#include "tests/Patience.h"
#include "tests/greeter/bus/AnsweringService.h"
#include "tests/linux/Driving.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall::greeter {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class PowerTest : public testing::Test {
 protected:
  void serve() {
    mLogind = std::make_unique<AnsweringService>(mBus.address(), "org.freedesktop.login1");
    for (const auto* member : {"CanSuspend", "CanHibernate", "CanReboot", "CanPowerOff"}) {
      mLogind->answers[member] = [this, member = std::string(member)](sd_bus_message* call) {
        return sd_bus_reply_method_return(call, "s", mAllowed[member].c_str());
      };
    }
  }

  bool until(const std::function<bool()>& condition) {
    return driveUntil(mLoop, [&] {
      if (mLogind) mLogind->serve();
      return condition();
    });
  }
  bool offers(const std::set<PowerAction>& actions) {
    return until([&] { return mPower && mPower->offered() == actions; });
  }

  PrivateBus mBus;
  std::map<std::string, std::string> mAllowed;
  std::unique_ptr<AnsweringService> mLogind;
  KeptLog mLog;
  int mChanges = 0;
  std::unique_ptr<Power> mPower;
  MainLoop mLoop{
      std::this_thread::get_id(), [this](EventLoop& events) {
        mPower = std::make_unique<Power>(
            mLoop, events,
            HostOptions{.root = "", .systemBusAddress = mBus.address(), .callTimeout = kPatience},
            mLog, [this] { ++mChanges; });
      }};
};

TEST_F(PowerTest, OffersWhatIsAllowedWithoutAPassword) {
  mAllowed = {{"CanSuspend", "yes"},
              {"CanHibernate", "na"},
              {"CanReboot", "challenge"},
              {"CanPowerOff", "yes"}};
  serve();
  ASSERT_TRUE(offers({PowerAction::Suspend, PowerAction::PowerOff}));
  EXPECT_EQ(mChanges, 2);
}

TEST_F(PowerTest, OffersOtherActionsOnceTheyAreAllowed) {
  mAllowed = {{"CanReboot", "yes"}, {"CanPowerOff", "yes"}};
  serve();
  ASSERT_TRUE(offers({PowerAction::Restart, PowerAction::PowerOff}));
  mAllowed = {{"CanHibernate", "yes"}, {"CanPowerOff", "no"}};
  mPower->ask();
  ASSERT_TRUE(offers({PowerAction::Hibernate}));
}

TEST_F(PowerTest, OffersNothingWhileLogindIsAway) {
  ASSERT_TRUE(until([this] { return mPower != nullptr; }));
  mAllowed = {{"CanReboot", "yes"}};
  serve();
  ASSERT_TRUE(offers({PowerAction::Restart}));
  mLogind.reset();
  ASSERT_TRUE(offers({}));
  serve();
  ASSERT_TRUE(offers({PowerAction::Restart}));
  mBus.end();
  ASSERT_TRUE(offers({}));
}

TEST_F(PowerTest, BelievesNoAnswerOfAnotherType) {
  mAllowed = {{"CanReboot", "yes"}};
  serve();
  mLogind->answers["CanPowerOff"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_return(call, "b", 1);
  };
  mLogind->answers["CanSuspend"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_return(call, "ss", "yes", "yes");
  };
  ASSERT_TRUE(offers({PowerAction::Restart}));
}

TEST_F(PowerTest, HasItDoneWithoutAPassword) {
  const std::map<PowerAction, std::string> members{{PowerAction::Suspend, "Suspend"},
                                                   {PowerAction::Hibernate, "Hibernate"},
                                                   {PowerAction::Restart, "Reboot"},
                                                   {PowerAction::PowerOff, "PowerOff"}};
  serve();
  for (const auto& [action, member] : members) {
    int interactive = -1;
    mLogind->answers[member] = [&](sd_bus_message* call) {
      sd_bus_message_read(call, "b", &interactive);
      return sd_bus_reply_method_return(call, "");
    };
    ASSERT_TRUE(until([this] { return mPower && mLogind->calls.size() >= 4; }));
    mPower->start(action, [] { FAIL(); });
    ASSERT_TRUE(until([&] { return interactive != -1; })) << member;
    EXPECT_EQ(interactive, 0);
  }
}

TEST_F(PowerTest, SaysWhenItIsNotDone) {
  serve();
  ASSERT_TRUE(until([this] { return mPower && mLogind->calls.size() >= 4; }));
  mLogind->answers["PowerOff"] = [](sd_bus_message* call) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "Not you");
  };
  bool hasFailed = false;
  mPower->start(PowerAction::PowerOff, [&] { hasFailed = true; });
  ASSERT_TRUE(until([&] { return hasFailed; }));
  EXPECT_THAT(mLog.lines(), Contains("Unable to have logind do PowerOff: Not you"));
}

}  // namespace
}  // namespace gatehall::greeter
