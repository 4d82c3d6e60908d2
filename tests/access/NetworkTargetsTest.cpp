#include <gtest/gtest.h>

#include "gatehall/access/NetworkStatus.h"
#include "tests/access/VisibleListWorld.h"

namespace gatehall {
namespace {

class CountingNetworkTarget : public NetworkStatusTarget {
 public:
  void networkStatusChanged() override {
    ++told;
    toldOn = std::this_thread::get_id();
  }
  int told = 0;
  std::thread::id toldOn;
};

/// Four nodes are covered, all of them reachable.
class NetworkTargets : public VisibleListWorld {
 protected:
  NetworkTargets() {
    install(R"({ "directory": { "localNode": "local",
        "searchNode": { "name": "search", "covers": ["local", "unix", "ldap/a", "ldap/b"] },
        "nodes": [ { "name": "local" }, { "name": "unix" }, { "name": "ldap/a" },
                   { "name": "ldap/b" } ] } })");
  }

  std::shared_ptr<NetworkStatus> status() { return NetworkStatus::sharedNetworkStatus(); }
  void reach(std::string_view node, bool reachable) {
    mWorld->directory().setReachable(node, reachable);
  }
  std::size_t measures() const { return calls("subnodeNames").size(); }

  std::shared_ptr<CountingNetworkTarget> mTarget = std::make_shared<CountingNetworkTarget>();
};

TEST_F(NetworkTargets, AreToldOnTheMainThreadWhenTheStatusChangesAndOnlyThen) {
  status()->addTarget(mTarget);
  advance(3.0);
  EXPECT_EQ(mTarget->told, 0);
  reach("ldap/b", false);
  advance(3.0);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(mTarget->toldOn, std::this_thread::get_id());
  EXPECT_EQ(status()->networkStatus(), 1);
  reach("ldap/a", false);
  advance(3.0);
  EXPECT_EQ(mTarget->told, 2);
  EXPECT_EQ(status()->networkStatus(), 0);
}

TEST_F(NetworkTargets, AreToldOnceWhenAllOfThreeNodesBecomeTwo) {
  mWorld->directory().setSearchNode("search", {"local", "unix", "ldap/a"});
  status()->addTarget(mTarget);
  settle();
  EXPECT_EQ(status()->networkStatus(), 2);
  reach("ldap/a", false);
  advance(5.0);
  EXPECT_EQ(status()->networkStatus(), 0);
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(NetworkTargets, AreNotToldWhenOnlyTheExistenceOfANetworkChanges) {
  mWorld->directory().setSearchNode("search", {"local", "unix"});
  status()->addTarget(mTarget);
  settle();
  EXPECT_FALSE(status()->parentNetworkExists());
  mWorld->directory().setSearchNode("search", {"local", "unix", "ldap/a"});
  advance(2.0);
  EXPECT_TRUE(status()->parentNetworkExists());
  EXPECT_EQ(mTarget->told, 0);
}

TEST_F(NetworkTargets, AreMeasuredForOnceASecond) {
  status()->addTarget(mTarget);
  settle();
  forgetCalls();
  advance(5.0);
  EXPECT_EQ(measures(), 5U);
}

TEST_F(NetworkTargets, AddedTwiceAreOneEntryAndOneThread) {
  status()->addTarget(mTarget);
  status()->addTarget(mTarget);
  settle();
  forgetCalls();
  advance(1.0);
  EXPECT_EQ(measures(), 1U);
  status()->removeTarget(mTarget);
  advance(1.0);
  forgetCalls();
  advance(3.0);
  EXPECT_EQ(measures(), 0U);
}

TEST_F(NetworkTargets, AreMeasuredForByOneThreadHoweverManyTheyAre) {
  status()->addTarget(mTarget);
  status()->addTarget(std::make_shared<CountingNetworkTarget>());
  settle();
  forgetCalls();
  advance(3.0);
  EXPECT_EQ(measures(), 3U);
}

TEST_F(NetworkTargets, AreStillToldAfterAnotherOneIsRemoved) {
  const auto other = std::make_shared<CountingNetworkTarget>();
  status()->addTarget(mTarget);
  status()->addTarget(other);
  settle();
  status()->removeTarget(other);
  advance(3.0);
  reach("ldap/b", false);
  advance(1.0);
  EXPECT_EQ(mTarget->told, 1);
  EXPECT_EQ(other->told, 0);
}

TEST_F(NetworkTargets, NoTargetStartsNoThread) {
  status()->addTarget(nullptr);
  status()->removeTarget(mTarget);
  settle();
  forgetCalls();
  advance(3.0);
  EXPECT_EQ(measures(), 0U);
}

TEST_F(NetworkTargets, AddedAgainWhileTheThreadSleepsAreMeasuredForByTwoThreads) {
  status()->addTarget(mTarget);
  settle();
  status()->removeTarget(mTarget);
  status()->addTarget(mTarget);
  settle();
  forgetCalls();
  advance(3.0);
  EXPECT_EQ(measures(), 6U);
}

class ReplacingTarget : public NetworkStatusTarget {
 public:
  explicit ReplacingTarget(std::shared_ptr<NetworkStatusTarget> other) : mOther(std::move(other)) {}
  void networkStatusChanged() override {
    NetworkStatus::sharedNetworkStatus()->removeTarget(mOther);
    NetworkStatus::sharedNetworkStatus()->addTarget(std::make_shared<CountingNetworkTarget>());
  }

 private:
  std::shared_ptr<NetworkStatusTarget> mOther;
};

TEST_F(NetworkTargets, MayBeAddedAndRemovedWhileTheyAreToldAndTheDeliveryGoesOnToAll) {
  status()->addTarget(std::make_shared<ReplacingTarget>(mTarget));
  status()->addTarget(mTarget);
  status()->networkStatusNotifyTargets();
  status()->networkStatusNotifyTargets();
  EXPECT_EQ(mTarget->told, 1);
}

TEST_F(NetworkTargets, ThreadEndsWithTheHost) {
  mWorld->runLoop().setThreads(WorldRunLoop::Threads::Free);
  status()->addTarget(mTarget);
  Platform::install(nullptr);
  mWorld.reset();
}

TEST_F(NetworkTargets, TheUserListIsRebuiltForAHostThatRegistersIt) {
  const auto shows = std::make_shared<CountingTarget>();
  access()->addTarget(shows);
  status()->addTarget(access());
  access()->visibleUsersList();
  settle();
  reach("ldap/b", false);
  advance(1.0);
  advance(1.0);
  EXPECT_EQ(shows->told, 1);
}

}  // namespace
}  // namespace gatehall
