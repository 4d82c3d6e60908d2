#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/directory/LocalNodeName.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

constexpr auto kMessage = "Unable to get the local node's name";

using LocalNodeName = Machine;

TEST_F(LocalNodeName, IsFetchedOnceAndThenServedFromTheCache) {
  EXPECT_THAT(localNodeName(), Optional(std::string("local")));
  EXPECT_EQ(calls("nodeName").size(), 1U);
  forgetCalls();
  EXPECT_THAT(localNodeName(), Optional(std::string("local")));
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(LocalNodeName, IsKeptWhenTheNodeGoesAway) {
  localNodeName();
  mWorld->directory().setLocalNode(std::nullopt);
  EXPECT_THAT(localNodeName(), Optional(std::string("local")));
}

TEST_F(LocalNodeName, IsAbsentAndLoggedOnceAfterAFailureAndAskedForAgain) {
  for (const auto* operation : {"defaultSession", "nodeByType", "nodeName"}) {
    install(cast::machine({}));
    fail({{operation, Fault::Kind::PlatformException, 1}});
    EXPECT_EQ(localNodeName(), std::nullopt) << operation;
    EXPECT_THAT(errors(), ElementsAre(kMessage)) << operation;
    EXPECT_THAT(localNodeName(), Optional(std::string("local"))) << operation;
    EXPECT_THAT(errors(), ElementsAre(kMessage)) << operation;
    forgetCalls();
    localNodeName();
    EXPECT_THAT(calls(), IsEmpty()) << operation;
  }
}

TEST_F(LocalNodeName, IsAbsentWithoutALocalNodeAndAskedForAgainSilently) {
  mWorld->directory().setLocalNode(std::nullopt);
  EXPECT_EQ(localNodeName(), std::nullopt);
  EXPECT_THAT(errors(), IsEmpty());
  mWorld->directory().setLocalNode("unix");
  EXPECT_THAT(localNodeName(), Optional(std::string("unix")));
}

TEST_F(LocalNodeName, IsNotCarriedOverToAnotherHost) {
  localNodeName();
  auto other = std::make_shared<World>();
  other->directory().addNode("home");
  other->directory().setLocalNode("home");
  install(other);
  EXPECT_THAT(localNodeName(), Optional(std::string("home")));
}

TEST_F(LocalNodeName, LetsOtherExceptionsPass) {
  fail({{"nodeName", Fault::Kind::OtherException}});
  EXPECT_THROW(localNodeName(), InjectedFailure);
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
