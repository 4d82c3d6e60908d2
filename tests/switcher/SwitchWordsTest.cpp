#include <gtest/gtest.h>

#include "tests/switcher/SwitchWorld.h"

namespace gatehall {
namespace {

class SwitchWords : public SwitchWorld {
 protected:
  /// The user ids that the directory was asked for, as it was asked.
  Strings queriedIDs() const {
    Strings ids;
    for (const auto& call : calls("query")) {
      if (call.arguments.at("attribute") == Value("UniqueID")) {
        ids.push_back(call.arguments.at("values").array()->front().description());
      }
    }
    return ids;
  }

  Strings queriedIDsOf(std::string_view word) {
    returnConsole();
    forgetCalls();
    run({"-switchToUserID", word});
    return queriedIDs();
  }
};

TEST_F(SwitchWords, NoneDoNothing) {
  run({});
  EXPECT_TRUE(switches().empty());
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchWords, OfOtherKindsAreSkippedWithoutComment) {
  run({"", "suspend", "-s", "--suspend", "-Suspend", " -suspend", "1001", "-help", "-suspen"});
  EXPECT_TRUE(switches().empty());
  EXPECT_TRUE(errors().empty());
  EXPECT_TRUE(queriedIDs().empty());
}

TEST_F(SwitchWords, OfOtherKindsDoNotEndTheWalk) {
  run({"-x", "-switchToUserID", "1001", "y", "-suspend"});
  EXPECT_EQ(switches(), (Strings{"bob without a password", kLoginScreen}));
}

TEST_F(SwitchWords, ASuspendBringsUpTheLoginScreen) {
  run({"-suspend"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
}

TEST_F(SwitchWords, AWordThatBeginsWithSuspendIsASuspend) {
  run({"-suspended"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
}

TEST_F(SwitchWords, AfterASuspendAreNeverRead) {
  run({"-suspend", "-switchToUserID", "1001"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
  EXPECT_TRUE(queriedIDs().empty());
}

TEST_F(SwitchWords, AfterASuspendBringUpNoSecondLoginScreen) {
  run({"-suspend", "-suspend"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
}

TEST_F(SwitchWords, ASwitchAndItsIDAsTheOnlyWordsSwitch) {
  run({"-switchToUserID", "1001"});
  EXPECT_EQ(switches(), Strings{"bob without a password"});
}

TEST_F(SwitchWords, AWordThatBeginsWithTheSwitchIsASwitch) {
  run({"-switchToUserIDfoo", "1001"});
  EXPECT_EQ(switches(), Strings{"bob without a password"});
}

TEST_F(SwitchWords, AWordThatIsShorterThanTheSwitchIsNone) {
  run({"-switchToUserI", "1001"});
  EXPECT_TRUE(switches().empty());
}

TEST_F(SwitchWords, AnIDInTheSameWordIsNoID) {
  run({"-switchToUserID=1001"});
  EXPECT_TRUE(switches().empty());
  EXPECT_TRUE(queriedIDs().empty());
}

TEST_F(SwitchWords, ASwitchAsTheLastWordSwitchesNobody) {
  run({"-switchToUserID"});
  run({"-switchToUserID", "1001", "-switchToUserID"});
  EXPECT_EQ(switches(), Strings{"bob without a password"});
  EXPECT_EQ(queriedIDs(), Strings{"1001"});
}

TEST_F(SwitchWords, NothingIsReadBeyondTheLastOne) {
  const std::vector<std::string_view> words = {"-switchToUserID", "1001", "-suspend"};
  runSwitch(std::span(words).first(1));
  EXPECT_TRUE(switches().empty());
  runSwitch(std::span(words).first(2));
  EXPECT_EQ(switches(), Strings{"bob without a password"});
}

TEST_F(SwitchWords, ASwitchThenASuspendDoBoth) {
  run({"-switchToUserID", "1001", "-suspend"});
  EXPECT_EQ(switches(), (Strings{"bob without a password", kLoginScreen}));
}

TEST_F(SwitchWords, SeveralSwitchesAreRequestedInTurn) {
  run({"-switchToUserID", "1002", "-switchToUserID", "1001", "-switchToUserID", "1002"});
  EXPECT_EQ(switches(), (Strings{"carol", "bob without a password", "carol"}));
}

TEST_F(SwitchWords, ASuspendRightAfterASwitchIsItsIDAndActsAsNothingElse) {
  run({"-switchToUserID", "-suspend", "-switchToUserID", "1001"});
  EXPECT_EQ(queriedIDs(), (Strings{"0", "1001"}));
  EXPECT_EQ(switches(), (Strings{"root", "bob without a password"}));
}

TEST_F(SwitchWords, ASwitchRightAfterASwitchIsItsID) {
  run({"-switchToUserID", "-switchToUserID", "1001"});
  EXPECT_EQ(queriedIDs(), Strings{"0"});
  EXPECT_EQ(switches(), Strings{"root"});
}

TEST_F(SwitchWords, AnIDIsConsumedEvenIfNobodyHasIt) {
  run({"-switchToUserID", "7777", "-suspend"});
  EXPECT_EQ(switches(), Strings{kLoginScreen});
  EXPECT_TRUE(errors().empty());
}

TEST_F(SwitchWords, AnIDWithoutDigitsIsTheSuperusers) {
  EXPECT_EQ(queriedIDsOf("abc"), Strings{"0"});
  EXPECT_EQ(switches(), Strings{"root"});
  EXPECT_EQ(queriedIDsOf(""), Strings{"0"});
  EXPECT_EQ(queriedIDsOf("-"), Strings{"0"});
}

TEST_F(SwitchWords, AnIDIsReadUpToTheFirstOtherCharacter) {
  EXPECT_EQ(queriedIDsOf(" +12abc"), Strings{"12"});
  EXPECT_EQ(queriedIDsOf("\t\n 0012"), Strings{"12"});
  EXPECT_EQ(queriedIDsOf("12.9"), Strings{"12"});
  EXPECT_EQ(queriedIDsOf("0x10"), Strings{"0"});
  EXPECT_EQ(queriedIDsOf("1 2"), Strings{"1"});
  EXPECT_EQ(queriedIDsOf("+ 12"), Strings{"0"});
  EXPECT_EQ(queriedIDsOf("--12"), Strings{"0"});
}

TEST_F(SwitchWords, ANegativeIDIsQueriedAsUnsigned) {
  EXPECT_EQ(queriedIDsOf("-2"), Strings{"4294967294"});
  EXPECT_EQ(queriedIDsOf("-1"), Strings{"4294967295"});
}

TEST_F(SwitchWords, AnIDBeyondThirtyTwoBitsKeepsItsLowerBits) {
  EXPECT_EQ(queriedIDsOf("4294967295"), Strings{"4294967295"});
  EXPECT_EQ(queriedIDsOf("4294968297"), Strings{"1001"});
  EXPECT_EQ(switches(), Strings{"bob without a password"});
}

TEST_F(SwitchWords, AnIDBeyondSixtyFourBitsSwitchesNobodyHere) {
  run({"-switchToUserID", "99999999999999999999999999", "-switchToUserID",
       "-99999999999999999999999999"});
  for (const auto& each : switches()) EXPECT_EQ(each, "root");
  EXPECT_EQ(queriedIDs().size(), 2U);
}

}  // namespace
}  // namespace gatehall
