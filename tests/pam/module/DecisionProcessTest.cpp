#include <gtest/gtest.h>
#include <string>

#include "pam/module/DecisionProcess.h"

namespace gatehall::pam {
namespace {

Question about(std::string_view user) {
  Question question{};
  EXPECT_TRUE(question.userName.set(user));
  return question;
}

TEST(DecisionProcess, AnswersWhatItIsAsked) {
  Answer answer{};
  EXPECT_EQ(askDecisionProcess(GATEHALL_DECIDE_STAND_IN, about("refused"), answer), nullptr);
  EXPECT_EQ(answer.verdict, Verdict::Refused);
  EXPECT_EQ(answer.sentence.value(), "Not you.");
}

TEST(DecisionProcess, IsWaitedForNoLongerThanThat) {
  Answer answer{};
  EXPECT_STREQ(askDecisionProcess(GATEHALL_DECIDE_STAND_IN, about("mute"), answer, 1),
               "the decision takes too long");
}

TEST(DecisionProcess, ThatGoesWrongIsNoAnswer) {
  Answer answer{};
  const auto fault = [&](std::string_view user) -> std::string {
    const auto* text = askDecisionProcess(GATEHALL_DECIDE_STAND_IN, about(user), answer);
    return text == nullptr ? "" : text;
  };
  EXPECT_EQ(fault("silent"), "the decision's program ended without an answer");
  for (const auto* user : {"brief", "odd", "endless", "long"}) {
    EXPECT_EQ(fault(user), "the decision's answer is none") << user;
  }
}

TEST(DecisionProcess, ThatCantBeStartedSaysWhy) {
  Answer answer{};
  EXPECT_STREQ(askDecisionProcess("/nowhere/at/all", about("admitted"), answer),
               "No such file or directory");
  EXPECT_STREQ(askDecisionProcess("/etc/passwd", about("admitted"), answer), "Permission denied");
}

TEST(BoundedText, HoldsWhatFitsAndNoMore) {
  BoundedText<4> text{};
  EXPECT_TRUE(text.set("abc"));
  EXPECT_EQ(text.value(), "abc");
  EXPECT_FALSE(text.set("abcd"));
  EXPECT_EQ(text.value(), "abc");
  EXPECT_FALSE(text.set(std::string_view("a\0b", 3)));
  EXPECT_TRUE(text.set("a"));
  EXPECT_EQ(text.value(), "a");
  text.bytes.fill('x');
  EXPECT_EQ(text.value(), "");
}

}  // namespace
}  // namespace gatehall::pam
