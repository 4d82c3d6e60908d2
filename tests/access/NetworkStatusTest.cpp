#include <gtest/gtest.h>

#include "gatehall/access/NetworkStatus.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

class NetworkStatusTest : public InstalledWorld {
 protected:
  /// The search node covers `total` nodes from now on; the first `reachable` of them answer.
  void setNodes(std::size_t total, std::size_t reachable) {
    Strings names;
    for (std::size_t index = 0; index < total; ++index) {
      names.push_back("node " + std::to_string(index));
      mWorld->directory().setReachable(names.back(), index < reachable);
    }
    mWorld->directory().setSearchNode("everywhere", names);
  }

  void setReachable(std::size_t index, bool reachable) {
    mWorld->directory().setReachable("node " + std::to_string(index), reachable);
  }
};

struct Measure {
  std::size_t total;
  std::size_t reachable;
  std::int32_t status;
  bool hasParentNetwork;
  bool parentNetworkExists;
};

constexpr Measure kMeasures[] = {
    {0, 0, 2, false, false},

    {1, 0, 2, false, false}, {1, 1, 2, false, false},

    {2, 0, 2, false, false}, {2, 1, 2, false, false}, {2, 2, 2, false, false},

    {3, 0, 0, true, false},  {3, 1, 0, true, false},  {3, 2, 0, true, false},
    {3, 3, 2, true, true},

    {4, 0, 0, true, false},  {4, 1, 0, true, false},  {4, 2, 0, true, false},
    {4, 3, 1, true, true},   {4, 4, 2, true, true},

    {6, 0, 0, true, false},  {6, 1, 0, true, false},  {6, 2, 0, true, false},
    {6, 3, 1, true, true},   {6, 4, 1, true, true},   {6, 5, 1, true, true},
    {6, 6, 2, true, true},
};

TEST_F(NetworkStatusTest, AnswersByHowManyNodesAreCoveredAndHowManyAnswer) {
  for (const auto& each : kMeasures) {
    SCOPED_TRACE(std::to_string(each.reachable) + " of " + std::to_string(each.total));
    setNodes(each.total, each.reachable);
    NetworkStatus status;
    EXPECT_EQ(status.networkStatus(), each.status);
    EXPECT_EQ(status.hasParentNetwork(), each.hasParentNetwork);
    EXPECT_EQ(status.parentNetworkExists(), each.parentNetworkExists);
  }
}

TEST_F(NetworkStatusTest, TwoReachableNodesAreNoNetworkDirectory) {
  setNodes(2, 2);
  NetworkStatus status;
  EXPECT_EQ(status.networkStatus(), 2);
  EXPECT_FALSE(status.hasParentNetwork());
  EXPECT_FALSE(status.parentNetworkExists());
}

TEST_F(NetworkStatusTest, IsOneInstanceAProcessUntilAnotherHostIsInstalled) {
  const auto status = NetworkStatus::sharedNetworkStatus();
  EXPECT_EQ(NetworkStatus::sharedNetworkStatus(), status);
  install(std::make_shared<World>());
  EXPECT_NE(NetworkStatus::sharedNetworkStatus(), status);
}

TEST_F(NetworkStatusTest, TheSharedInstanceAnswersWhatItMeasuredOnFirstUse) {
  setNodes(3, 3);
  EXPECT_TRUE(NetworkStatus::sharedNetworkStatus()->parentNetworkExists());
  setReachable(2, false);
  EXPECT_TRUE(NetworkStatus::sharedNetworkStatus()->parentNetworkExists());
  EXPECT_EQ(NetworkStatus::sharedNetworkStatus()->networkStatus(), 2);
}

TEST_F(NetworkStatusTest, AnUpdateSaysThatTheStatusChangedWhenANodeGoesAndComesBack) {
  setNodes(3, 3);
  NetworkStatus status;
  setReachable(1, false);
  EXPECT_TRUE(status.networkStatusUpdate());
  EXPECT_EQ(status.networkStatus(), 0);
  EXPECT_FALSE(status.networkStatusUpdate());
  setReachable(1, true);
  EXPECT_TRUE(status.networkStatusUpdate());
  EXPECT_EQ(status.networkStatus(), 2);
}

TEST_F(NetworkStatusTest, AnUpdateThatChangesOnlyTheBooleansIsNoChange) {
  setNodes(2, 2);
  NetworkStatus status;
  setNodes(3, 3);
  EXPECT_FALSE(status.networkStatusUpdate());
  EXPECT_EQ(status.networkStatus(), 2);
  EXPECT_TRUE(status.hasParentNetwork());
  EXPECT_TRUE(status.parentNetworkExists());
}

TEST_F(NetworkStatusTest, AStatusOfZeroOnFirstMeasureIsNoChange) {
  setNodes(3, 1);
  NetworkStatus status;
  EXPECT_FALSE(status.networkStatusUpdate());
  EXPECT_EQ(status.networkStatus(), 0);
}

TEST_F(NetworkStatusTest, ANodeThatIsUnreachableButNotCoveredChangesNothing) {
  setNodes(3, 3);
  mWorld->directory().setReachable("another", false);
  EXPECT_EQ(NetworkStatus().networkStatus(), 2);
  EXPECT_TRUE(NetworkStatus().parentNetworkExists());
}

TEST_F(NetworkStatusTest, WithoutADirectoryThereIsNoNetwork) {
  setNodes(4, 4);
  mWorld->directory().setAvailable(false);
  NetworkStatus status;
  EXPECT_EQ(status.networkStatus(), 2);
  EXPECT_FALSE(status.hasParentNetwork());
  EXPECT_FALSE(status.parentNetworkExists());
}

TEST_F(NetworkStatusTest, WithoutASearchNodeThereIsNoNetwork) {
  setNodes(4, 4);
  mWorld->directory().removeSearchNode();
  NetworkStatus status;
  EXPECT_EQ(status.networkStatus(), 2);
  EXPECT_FALSE(status.hasParentNetwork());
}

class NetworkStatusFailures : public NetworkStatusTest {
 protected:
  void failAlways(std::string operation, Fault::Kind kind) {
    fail({{std::move(operation), kind, {}, {}}});
  }
};

TEST_F(NetworkStatusFailures, AFailureBeforeTheNodesAreCountedIsNoNetworkAndNotLogged) {
  setNodes(4, 4);
  for (const auto* operation : {"defaultSession", "nodeByType", "subnodeNames"}) {
    failAlways(operation, Fault::Kind::PlatformException);
    NetworkStatus status;
    EXPECT_EQ(status.networkStatus(), 2) << operation;
    EXPECT_FALSE(status.hasParentNetwork()) << operation;
    EXPECT_FALSE(status.parentNetworkExists()) << operation;
  }
  EXPECT_TRUE(errors().empty());
}

TEST_F(NetworkStatusFailures, AFailureAfterTheNodesAreCountedIsANetworkThatIsAway) {
  setNodes(4, 4);
  failAlways("unreachableSubnodeNames", Fault::Kind::PlatformException);
  NetworkStatus status;
  EXPECT_EQ(status.networkStatus(), 0);
  EXPECT_TRUE(status.hasParentNetwork());
  EXPECT_FALSE(status.parentNetworkExists());
  EXPECT_TRUE(errors().empty());
}

TEST_F(NetworkStatusFailures, AFailureAfterTwoNodesAreCountedIsNoNetwork) {
  setNodes(2, 2);
  failAlways("unreachableSubnodeNames", Fault::Kind::PlatformException);
  EXPECT_EQ(NetworkStatus().networkStatus(), 2);
  EXPECT_FALSE(NetworkStatus().hasParentNetwork());
}

TEST_F(NetworkStatusFailures, NoListOfUnreachableNodesMeansThatAllAnswer) {
  setNodes(4, 2);
  failAlways("unreachableSubnodeNames", Fault::Kind::Absent);
  EXPECT_EQ(NetworkStatus().networkStatus(), 2);
  EXPECT_TRUE(NetworkStatus().parentNetworkExists());
}

TEST_F(NetworkStatusFailures, AnyOtherExceptionPasses) {
  setNodes(4, 4);
  failAlways("unreachableSubnodeNames", Fault::Kind::OtherException);
  EXPECT_THROW(NetworkStatus(), InjectedFailure);
}

}  // namespace
}  // namespace gatehall
