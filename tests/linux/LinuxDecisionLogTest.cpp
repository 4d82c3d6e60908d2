#include <gtest/gtest.h>
#include <string>

#include "linux/LinuxDecisionLog.h"

namespace gatehall {
namespace {

using Answer = DecisionRecord::Answer;

TEST(DecisionLine, SaysWhoAskedAboutWhomAndWhichRuleAnswered) {
  EXPECT_EQ(
      decisionLine({1000, 1001, "bob", Answer::Admitted, "local login enabled", "default", ""}),
      "uid 1000 asked for bob (1001): admitted: local login enabled (default)");
  EXPECT_EQ(decisionLine({1000, 20001, "dana", Answer::Refused, "no service access", "", ""}),
            "uid 1000 asked for dana (20001): refused: no service access");
  EXPECT_EQ(decisionLine({0, 4711, "", Answer::NotFound, "", "", ""}),
            "uid 0 asked for uid 4711: not found");
  EXPECT_EQ(decisionLine({1000, 1004, "erin", Answer::Undecidable, "", "", "no answer"}),
            "uid 1000 asked for erin (1004): undecidable: no answer");
}

TEST(DecisionLine, SaysAtWhichDoorAndWithoutAnIDThatNobodyKnows) {
  DecisionRecord record{0, 20001, "dana", Answer::Refused, "denied by GUID", "managed", "", "sshd"};
  EXPECT_EQ(decisionLine(record), "sshd: dana (20001): refused: denied by GUID (managed)");
  record = {0, DecisionRecord::kUnknown, "dan", Answer::NotFound, "", "", "", "login"};
  EXPECT_EQ(decisionLine(record), "login: dan: not found");
}

TEST(DecisionLine, StaysOneLineOfBoundedLengthWhateverNamesAndReasonsHold) {
  const auto line = decisionLine({1000, 1001, "b\nob\x1b[2J\xff", Answer::Undecidable, "", "",
                                  std::string(100000, 'x') + "\n"});
  EXPECT_EQ(line.find_first_of("\n\x1b\xff"), std::string::npos);
  EXPECT_TRUE(line.starts_with("uid 1000 asked for b?ob?[2J? (1001): undecidable: xxx"));
  EXPECT_LT(line.size(), 1000U);
}

}  // namespace
}  // namespace gatehall
