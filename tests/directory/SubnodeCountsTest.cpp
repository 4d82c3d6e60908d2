#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/directory/SubnodeCounts.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

using ::testing::IsEmpty;

class SubnodeCountsTest : public InstalledWorld {
 protected:
  SubnodeCountsTest() { install(cast::machineOfAll()); }

  static SubnodeCounts counts() {
    SubnodeCounts counts = {77, 77};
    subnodeCounts(&counts);
    return counts;
  }

  void expectCounts(std::uint64_t total, std::uint64_t reachable) {
    const auto found = counts();
    EXPECT_EQ(found.total, total);
    EXPECT_EQ(found.reachable, reachable);
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(diagnostics(), IsEmpty());
  }
};

TEST_F(SubnodeCountsTest, AreEqualWhenEveryNodeCanBeReached) { expectCounts(3, 3); }

TEST_F(SubnodeCountsTest, OfThreeSubnodesWithOneUnreachableAreThreeAndTwo) {
  mWorld->directory().setReachable(cast::kNetworkNode, false);
  expectCounts(3, 2);
}

TEST_F(SubnodeCountsTest, DoNotChangeForAnUnreachableNodeThatIsNoSubnode) {
  mWorld->directory().setReachable("ldap/elsewhere.example.org", false);
  expectCounts(3, 3);
}

TEST_F(SubnodeCountsTest, LoseEveryEntryOfAnUnreachableNode) {
  mWorld->directory().setSearchNode("search", {"local", "ldap/a", "unix", "ldap/a"});
  mWorld->directory().setReachable("ldap/a", false);
  expectCounts(4, 2);
}

TEST_F(SubnodeCountsTest, AreZeroWithoutASearchNode) {
  mWorld->directory().removeSearchNode();
  expectCounts(0, 0);
}

TEST_F(SubnodeCountsTest, AreZeroWithoutADefaultSession) {
  mWorld->directory().setAvailable(false);
  expectCounts(0, 0);
}

TEST_F(SubnodeCountsTest, AreZeroWhenTheSubnodesCannotBeTold) {
  fail({{"subnodeNames", Fault::Kind::Absent}});
  expectCounts(0, 0);
}

TEST_F(SubnodeCountsTest, TakeEveryNodeForReachableWhenTheUnreachableOnesCannotBeTold) {
  fail({{"unreachableSubnodeNames", Fault::Kind::Absent}});
  expectCounts(3, 3);
}

TEST_F(SubnodeCountsTest, AreZeroAfterAFailureBeforeCountingAndNothingIsLogged) {
  for (const auto* operation : {"defaultSession", "nodeByType", "subnodeNames"}) {
    fail({{operation}});
    expectCounts(0, 0);
  }
}

TEST_F(SubnodeCountsTest, KeepTheTotalAfterAFailureToTellTheUnreachableNodes) {
  fail({{"unreachableSubnodeNames"}});
  expectCounts(3, 0);
}

TEST_F(SubnodeCountsTest, LetOtherExceptionsPass) {
  fail({{"subnodeNames", Fault::Kind::OtherException}});
  EXPECT_THROW(counts(), InjectedFailure);
}

TEST_F(SubnodeCountsTest, AskNothingWithoutARecordToFill) {
  subnodeCounts(nullptr);
  EXPECT_TRUE(calls().empty());
}

}  // namespace
}  // namespace gatehall
