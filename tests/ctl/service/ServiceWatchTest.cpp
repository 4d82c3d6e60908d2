#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "ctl/service/ServiceWatch.h"
#include "gatehall/base/PlatformException.h"
#include "instrumented/Trace.h"
#include "tests/Patience.h"
#include "tests/ctl/Run.h"
#include "tests/following/Sent.h"
#include "tests/following/standin/ServiceStandIn.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall::ctl {
namespace {

using testing::HasSubstr;

class ServiceWatchTest : public testing::Test {
 protected:
  static ListedUsers usersNamed(const Strings& names) {
    ListedUsers list;
    for (const auto& name : names) list.push_back(userNamed(name));
    return list;
  }

  /// What is printed until nothing can be any more: each time something was printed the step is
  /// taken that comes next, and after the last one the output is closed.
  std::string watch(const std::vector<std::function<void()>>& steps, bool json = false) {
    std::string printed;
    auto next = steps.begin();
    const Screen screen{.write =
                            [&](std::string_view text) {
                              printed += text;
                              if (next == steps.end()) return false;
                              (*next++)();
                              return true;
                            },
                        .size = [] { return std::nullopt; }};
    const Request request{.operands = {}, .json = json, .screen = screen};
    const Host host({}, Trace::Keeps::LastOperation);
    HostOptions options;
    options.systemBusAddress = mBus.address();
    options.callTimeout = kPatience;
    ServiceWatch(host, request, options).run();
    return printed;
  }

  PrivateBus mBus;
  std::unique_ptr<ServiceStandIn> mService =
      std::make_unique<ServiceStandIn>(mBus.address(), usersNamed({"ann", "bob"}), 100);
};

TEST_F(ServiceWatchTest, PrintsTheListAndItsChangesInWatchsLines) {
  const auto printed = watch({[this] { mService->publish(usersNamed({"ann"})); }});
  EXPECT_THAT(printed, testing::StartsWith("UID   SHORT NAME"));
  EXPECT_THAT(printed, HasSubstr("2 users\n"));
  EXPECT_THAT(printed, testing::EndsWith("  - bob  -  local\n"));
}

TEST_F(ServiceWatchTest, PrintsAnObjectALineWithWatchsKeys) {
  std::istringstream printed(watch({[this] {
                                     mService->publish(usersNamed({"zoe", "ann", "bob"}));
                                   }},
                                   true));
  std::string first;
  std::string second;
  std::getline(printed, first);
  std::getline(printed, second);
  const auto list = Json::parse(first);
  EXPECT_EQ(list.at("event"), "list");
  EXPECT_EQ(list.at("users").size(), 2U);
  const auto added = Json::parse(second);
  EXPECT_EQ(added.at("event"), "added");
  EXPECT_EQ(added.at("position"), 1);
  EXPECT_EQ(added.at("user").at("shortName"), "zoe");
}

TEST_F(ServiceWatchTest, SaysThatTheServiceIsGoneAndIsBack) {
  const auto printed = watch({[this] { mService.reset(); },
                              [this] {
                                mService = std::make_unique<ServiceStandIn>(
                                    mBus.address(), usersNamed({"ann"}), 5000);
                              },
                              [] {}});
  EXPECT_THAT(printed, HasSubstr("  ! gatehalld is gone: it ended\n"));
  EXPECT_THAT(printed, HasSubstr("  * gatehalld is back, read anew\n"));
  EXPECT_THAT(printed, testing::EndsWith("  - bob  -  local\n"));
}

TEST_F(ServiceWatchTest, TellsTheNetworkWhereThereIsOne) {
  mService->setNetwork(true, true, 2);
  const auto printed = watch({[this] { mService->setNetwork(true, false, 0); }});
  EXPECT_THAT(printed, HasSubstr("  * network status 2"));
  EXPECT_THAT(printed, HasSubstr("  * network status 0"));
}

TEST_F(ServiceWatchTest, FailsWithTheReasonWhenThereIsNoListAtFirst) {
  mService->hasNoList = true;
  try {
    watch({});
    FAIL() << "there is a list";
  } catch (const PlatformException& failure) {
    EXPECT_STREQ(failure.what(), "gatehalld can't be asked: no accounts");
  }
}

TEST_F(ServiceWatchTest, FailsWithTheReasonWhenThereIsNoBusAtFirst) {
  mService.reset();
  mBus.end();
  try {
    watch({});
    ADD_FAILURE() << "there is a bus";
  } catch (const PlatformException& failure) {
    EXPECT_THAT(failure.what(), HasSubstr("gatehalld can't be asked: the system bus is away"));
  }
  mBus.begin();
}

TEST_F(ServiceWatchTest, SaysThatTheBusIsGone) {
  const auto printed = watch({[this] {
    mService.reset();
    mBus.end();
  }});
  EXPECT_THAT(printed, HasSubstr("  ! gatehalld is gone: "));
  mBus.begin();
}

TEST(ServiceWatchWords, NoServiceRunsInAWorldOrUnderAFolder) {
  const auto world = std::string(GATEHALL_EXAMPLES) + "/family.world.json";
  EXPECT_THAT(run({"--world", world, "watch", "--service"}).errors,
              HasSubstr("no service runs in a world"));
  EXPECT_THAT(run({"--root", GATEHALL_EXAMPLES, "watch", "--service"}).errors,
              HasSubstr("no service runs on a machine under a folder"));
  EXPECT_THAT(run({"watch", "--service", "--script", "x"}).errors,
              HasSubstr("--service and --script exclude each other"));
}

}  // namespace
}  // namespace gatehall::ctl
