#include <gtest/gtest.h>

#include "tests/switcher/SwitchWorld.h"

namespace gatehall {
namespace {

class SwitchFailure : public SwitchWorld {};

TEST_F(SwitchFailure, InThePasswordCheckMeansThatAPasswordIsNeeded) {
  fail({{"verifyPassword", Fault::Kind::PlatformException, {}, {}}});
  run({"-switchToUserID", "1001"});
  EXPECT_EQ(switches(), Strings{"bob"});
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchFailure, OfTheLoginServiceIsLoggedAndTheWalkGoesOn) {
  fail({{"switchToUser", Fault::Kind::PlatformException, 1, {}}});
  run({"-switchToUserID", "1001", "-switchToUserID", "1002", "-suspend"});
  EXPECT_EQ(errors(), Strings{kFailedSwitch});
  EXPECT_EQ(switches(), (Strings{"carol", kLoginScreen}));
}

TEST_F(SwitchFailure, OfEverySwitchIsLoggedEachTime) {
  fail({{"switchToUser", Fault::Kind::PlatformException, {}, {}}});
  run({"-switchToUserID", "1001", "-switchToUserID", "1004"});
  EXPECT_EQ(errors(), (Strings{kFailedSwitch, kFailedSwitch}));
}

TEST_F(SwitchFailure, ToReadTheAttributesIsLoggedAndNobodyIsHandedOverWithoutThem) {
  for (const auto kind : {Fault::Kind::PlatformException, Fault::Kind::Absent}) {
    returnConsole();
    // The first reading is the lookup's, the second is for the hand-over.
    fail({{"recordDetails", kind, 2, {}}});
    run({"-switchToUserID", "1001", "-suspend"});
  }
  EXPECT_EQ(errors(), (Strings{kFailedSwitch, kFailedSwitch}));
  EXPECT_EQ(switches(), (Strings{kLoginScreen, kLoginScreen}));
}

TEST_F(SwitchFailure, InTheLookupIsLoggedByItAndTheWalkGoesOn) {
  fail({{"query", Fault::Kind::PlatformException, 1, {}}});
  run({"-switchToUserID", "1001", "-switchToUserID", "1002"});
  EXPECT_EQ(errors(), Strings{"Unable to find user"});
  EXPECT_EQ(switches(), Strings{"carol"});
}

TEST_F(SwitchFailure, ToGetAtTheSearchNodeIsLoggedByTheLookupAndTheWalkGoesOn) {
  fail({{"nodeByType", Fault::Kind::PlatformException, 1, {}}});
  run({"-switchToUserID", "1001", "-switchToUserID", "1002"});
  EXPECT_EQ(errors(), Strings{"Unable to find the users on the search node."});
  EXPECT_EQ(switches(), Strings{"carol"});
}

TEST_F(SwitchFailure, InThePermissionCheckEndsTheRun) {
  fail({{"isMember", Fault::Kind::PlatformException, 1, {}}});
  EXPECT_THROW(run({"-switchToUserID", "1001", "-suspend"}), PlatformException);
  EXPECT_TRUE(switches().empty());
}

TEST_F(SwitchFailure, ToBringUpTheLoginScreenEndsTheRun) {
  fail({{"switchToLoginScreen", Fault::Kind::PlatformException, {}, {}}});
  EXPECT_THROW(run({"-suspend"}), PlatformException);
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchFailure, OfAnotherKindEndsTheRunWhereverItIsRaised) {
  for (const auto* operation :
       {"effectiveUserID", "copyCurrentSession", "query", "isMember", "verifyPassword",
        "valuesForAttribute", "recordDetails", "switchToUser", "switchToLoginScreen"}) {
    returnConsole();
    fail({{operation, Fault::Kind::OtherException, {}, {}}});
    EXPECT_THROW(run({"-switchToUserID", "1001", "-suspend"}), InjectedFailure) << operation;
  }
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchFailure, ToReadTheSwitchForLocalUsersLeavesItOn) {
  mWorld->preferences().setValue(WorldPreferences::Scope::System, "com.orvane.gatehall",
                                 "LocalUserLoginEnabled", false);
  run({"-switchToUserID", "1002"});
  EXPECT_TRUE(switches().empty());
  fail({{"applicationBoolean", Fault::Kind::Absent, {}, {}}});
  run({"-switchToUserID", "1002"});
  EXPECT_EQ(switches(), Strings{"carol"});
}

TEST_F(SwitchFailure, ToLearnWhichNodesAreUnreachableMeansThatTheNetworkIsThere) {
  mWorld->preferences().setValue(WorldPreferences::Scope::System, "com.orvane.gatehall", "DenyList",
                                 Array{std::string(cast::kBobGUID)});
  mWorld->directory().setReachable(cast::kUnixNode, false);
  run({"-switchToUserID", "2001"});
  EXPECT_TRUE(switches().empty());
  fail({{"unreachableSubnodeNames", Fault::Kind::Absent, {}, {}}});
  run({"-switchToUserID", "2001"});
  EXPECT_EQ(switches(), Strings{"dana"});
}

}  // namespace
}  // namespace gatehall
