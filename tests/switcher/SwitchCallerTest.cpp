#include <gtest/gtest.h>

#include "tests/switcher/SwitchWorld.h"

namespace gatehall {
namespace {

class SwitchCaller : public SwitchWorld {
 protected:
  void setOwner(WorldSession session) { mWorld->sessions().setCurrent(std::move(session)); }

  /// A refused caller gets one line, and nothing is attempted.
  void expectRefused() {
    run({"-switchToUserID", "1001", "-suspend"});
    EXPECT_EQ(errors(), Strings{kRefusedCaller});
    EXPECT_TRUE(switches().empty());
    EXPECT_TRUE(calls("query").empty());
  }
};

TEST_F(SwitchCaller, RootIsNotedAndNeedsNoSession) {
  mWorld->process().setEffectiveUserID(0);
  mWorld->sessions().clearCurrent();
  run({"-suspend"});
  EXPECT_EQ(errors(), Strings{"User is root user."});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
  EXPECT_TRUE(calls("copyCurrentSession").empty());
}

TEST_F(SwitchCaller, TheOwnerOfTheConsoleMaySwitchAndNothingIsLogged) {
  run({"-suspend"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchCaller, AnybodyElseIsRefused) {
  mWorld->process().setEffectiveUserID(1001);
  expectRefused();
}

TEST_F(SwitchCaller, WithoutACurrentSessionEveryoneButRootIsRefused) {
  mWorld->sessions().clearCurrent();
  expectRefused();
}

TEST_F(SwitchCaller, IsRefusedEvenIfAnotherOfTheCallersSessionsIsOpen) {
  mWorld->sessions().open({.id = 2, .userID = 1001, .userName = "bob", .loginDone = true});
  mWorld->process().setEffectiveUserID(1001);
  expectRefused();
}

TEST_F(SwitchCaller, ASessionRecordWithoutAnOwnerIsReadAsOwnedByUserZero) {
  setOwner({.id = 1, .userID = {}, .userName = "ann", .loginDone = true});
  expectRefused();
}

TEST_F(SwitchCaller, ASessionThatIsOwnedByRootIsNotTheCallers) {
  setOwner({.id = 1, .userID = 0, .userName = "root", .loginDone = true});
  expectRefused();
}

TEST_F(SwitchCaller, ANegativeOwnerIsComparedByItsBits) {
  setOwner({.id = 1, .userID = -2, .userName = "nobody", .loginDone = true});
  mWorld->process().setEffectiveUserID(4294967294);
  run({"-suspend"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchCaller, ANegativeOwnerIsNotAnybodyElse) {
  setOwner({.id = 1, .userID = -1000, .userName = "ann", .loginDone = true});
  expectRefused();
}

TEST_F(SwitchCaller, ASessionThatIsStillLoggingInCounts) {
  setOwner({.id = 1, .userID = 1000, .userName = "ann", .loginDone = false});
  run({"-suspend"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
}

TEST_F(SwitchCaller, IsCheckedWithoutWordsToo) {
  mWorld->process().setEffectiveUserID(1001);
  run({});
  EXPECT_EQ(errors(), Strings{kRefusedCaller});
}

TEST_F(SwitchCaller, IsCheckedOnceForAllWords) {
  run({"-switchToUserID", "1001", "-switchToUserID", "1002", "-suspend"});
  EXPECT_EQ(calls("effectiveUserID").size(), 1U);
  EXPECT_EQ(calls("copyCurrentSession").size(), 1U);
}

}  // namespace
}  // namespace gatehall
