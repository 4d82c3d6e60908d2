#include <chrono>
#include <gtest/gtest.h>

#include "gatehall/access/NetworkStatus.h"
#include "gatehall/base/AtomicSharedPtr.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

using Stamp = AtomicSharedPtr<const Date>;

/// Nothing stamps an instance but its own refresh, which only a stamped one makes; so the stamp is
/// put there from outside. An explicit instantiation may name a private member.
Stamp& stampOf(NetworkStatus& status);

template <Stamp NetworkStatus::*Member>
struct StampAccess {
  friend Stamp& stampOf(NetworkStatus& status) { return status.*Member; }
};
template struct StampAccess<&NetworkStatus::mLastUpdate>;

class NetworkStatusRefresh : public InstalledWorld {
 protected:
  NetworkStatusRefresh() {
    mWorld->directory().setSearchNode("everywhere", {"one", "two", "three"});
  }

  void stamp(NetworkStatus& status, double secondsFromNow) {
    stampOf(status).store(
        std::make_shared<const Date>(mWorld->clock().now() + seconds(secondsFromNow)));
  }

  static std::chrono::duration<double> seconds(double count) {
    return std::chrono::duration<double>(count);
  }

  std::size_t measures() const { return calls("subnodeNames").size(); }
};

TEST_F(NetworkStatusRefresh, ManyQuestionsAskTheDirectoryNothingAfterTheFirstMeasure) {
  NetworkStatus status;
  forgetCalls();
  for (int question = 0; question < 100; ++question) {
    status.hasParentNetwork();
    status.parentNetworkExists();
    status.networkStatus();
  }
  EXPECT_TRUE(calls().empty());
}

TEST_F(NetworkStatusRefresh, AnInstanceWithoutAStampNeverMeasuresAgainWhateverTheClockDoes) {
  NetworkStatus status;
  const auto start = mWorld->clock().now();
  for (const double shift : {0.5, 1.5, 3600.0, -0.5, -1.5, -3600.0}) {
    mWorld->clock().set(start + seconds(shift));
    status.networkStatus();
  }
  EXPECT_EQ(measures(), 1U);
}

TEST_F(NetworkStatusRefresh, AnUpdateThatWasAskedForLeavesNoStamp) {
  NetworkStatus status;
  status.networkStatusUpdate();
  mWorld->clock().set(mWorld->clock().now() - seconds(3600));
  status.networkStatus();
  EXPECT_EQ(measures(), 2U);
}

TEST_F(NetworkStatusRefresh, AStampInThePastNeverCausesAMeasure) {
  NetworkStatus status;
  for (const double age : {0.0, -1.0, -1.5, -86400.0}) {
    stamp(status, age);
    status.hasParentNetwork();
    status.parentNetworkExists();
    status.networkStatus();
  }
  EXPECT_EQ(measures(), 1U);
}

TEST_F(NetworkStatusRefresh, AStampUpToOneSecondAheadCausesNoMeasure) {
  NetworkStatus status;
  stamp(status, 1.0);
  status.networkStatus();
  EXPECT_EQ(measures(), 1U);
}

TEST_F(NetworkStatusRefresh, AStampMoreThanOneSecondAheadCausesOneMeasureByAnyQuestion) {
  const auto questions = {+[](NetworkStatus& status) { status.hasParentNetwork(); },
                          +[](NetworkStatus& status) { status.parentNetworkExists(); },
                          +[](NetworkStatus& status) { status.networkStatus(); }};
  for (const auto& ask : questions) {
    NetworkStatus status;
    const auto before = measures();
    stamp(status, 1.5);
    ask(status);
    EXPECT_EQ(measures(), before + 1);
    EXPECT_EQ(*stampOf(status).load(), mWorld->clock().now());
    ask(status);
    EXPECT_EQ(measures(), before + 1);
  }
}

TEST_F(NetworkStatusRefresh, SettingTheClockBackBehindTheStampMakesTheNextAnswerFresh) {
  NetworkStatus status;
  stamp(status, 0.0);
  mWorld->directory().setReachable("three", false);
  EXPECT_EQ(status.networkStatus(), 2);
  mWorld->clock().set(mWorld->clock().now() - seconds(10));
  EXPECT_EQ(status.networkStatus(), 0);
  EXPECT_FALSE(status.parentNetworkExists());
}

}  // namespace
}  // namespace gatehall
