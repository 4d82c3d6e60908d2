#include <cstdlib>
#include <gtest/gtest.h>
#include <libintl.h>
#include <locale.h>
#include <set>
#include <time.h>

#include "pam/Sentence.h"

namespace gatehall::pam {
namespace {

using Answer = DecisionRecord::Answer;

/// In a zone of its own, and in English unless a case speaks something else.
class SentenceTest : public testing::Test {
 protected:
  SentenceTest() {
    setenv("TZ", "XXX-2", 1);
    tzset();
    bindtextdomain("gatehall", GATEHALL_CATALOGUES);
    speak("");
  }
  /// A process speaks one language; a case has several, one after another.
  static void speakInstead(const std::string& localeName) {
    setlocale(LC_ALL, "C");
    speak(localeName);
  }
  ~SentenceTest() override {
    unsetenv("TZ");
    tzset();
    setlocale(LC_ALL, "C");
    unsetenv("LANGUAGE");
  }

  static std::string refusedBy(LoginRule rule) {
    return sentenceFor({.answer = Answer::Refused, .rule = rule}, kNow);
  }

  static std::string untilHours(std::optional<Date> begin) {
    DoorDecision decision{.answer = Answer::Refused, .rule = LoginRule::LocalLoginEnabled};
    decision.isOutsideHours = true;
    decision.hoursBegin = begin;
    return sentenceFor(decision, kNow);
  }

  static Date at(double seconds) { return Date(std::chrono::duration<double>(seconds)); }

  /// 2024-10-04 00:00 UTC, 02:00 in the case's zone.
  static constexpr double kSeconds = 20000 * 86400.0;
  static inline const Date kNow = at(kSeconds);
};

constexpr std::initializer_list<LoginRule> kRefusals{
    LoginRule::NoServiceAccess, LoginRule::LocalLoginDisabled, LoginRule::NetworkAway,
    LoginRule::EveryoneDenied,  LoginRule::DeniedByGUID,       LoginRule::NotInAllowList};

TEST_F(SentenceTest, OfEachRefusalIsItsOwn) {
  std::set<std::string> sentences;
  for (const auto rule : kRefusals) {
    const auto sentence = refusedBy(rule);
    EXPECT_TRUE(sentence.starts_with("You may not log in on this computer: ")) << sentence;
    EXPECT_TRUE(sentence.ends_with(".")) << sentence;
    sentences.insert(sentence);
  }
  EXPECT_EQ(sentences.size(), kRefusals.size());
  EXPECT_EQ(refusedBy(LoginRule::DeniedByGUID),
            "You may not log in on this computer: your account is excluded.");
}

TEST_F(SentenceTest, IsNotThereForWhoIsAdmitted) {
  EXPECT_EQ(sentenceFor({.answer = Answer::Admitted, .rule = LoginRule::NoAllowList}, kNow), "");
}

TEST_F(SentenceTest, OfHoursTellsWhenTheyBeginAgain) {
  EXPECT_EQ(untilHours(at(kSeconds + 6 * 3600)),
            "You may not log in on this computer: not before 08:00.");
  EXPECT_EQ(untilHours(at(kSeconds + 30 * 3600)),
            "You may not log in on this computer: not before 08:00 tomorrow.");
  EXPECT_EQ(untilHours(at(kSeconds + 54 * 3600)),
            "You may not log in on this computer: not until 2024-10-06 08:00.");
  EXPECT_EQ(untilHours({}), "You may not log in on this computer: not at this time.");
}

TEST_F(SentenceTest, OfHoursKnowsTheNextDayWhereTheClocksChange) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  DoorDecision decision{.answer = Answer::Refused};
  decision.isOutsideHours = true;
  const auto now = at(1711837800);       // 2024-03-30 23:30, the day before one of 23 hours
  decision.hoursBegin = at(1711951200);  // 2024-04-01 08:00
  EXPECT_EQ(sentenceFor(decision, now),
            "You may not log in on this computer: not until 2024-04-01 08:00.");
  decision.hoursBegin = at(1711864800);  // 2024-03-31 08:00
  EXPECT_EQ(sentenceFor(decision, now),
            "You may not log in on this computer: not before 08:00 tomorrow.");
}

TEST_F(SentenceTest, OfWhatCantBeToldIsAnotherAndTellsNoReason) {
  const auto sentence =
      sentenceFor({.answer = Answer::Undecidable, .reason = "ldap/lab is away"}, kNow);
  EXPECT_TRUE(sentence.starts_with("It can't be told now whether you may log in")) << sentence;
  EXPECT_EQ(sentence.find("ldap"), std::string::npos);
}

TEST_F(SentenceTest, OfWhomNobodyKnowsSaysSo) {
  EXPECT_EQ(sentenceFor({.answer = Answer::NotFound}, kNow),
            "You may not log in on this computer: it doesn't know your account.");
}

TEST_F(SentenceTest, IsInTheLanguageOfTheLocaleWhetherTheMachineHasThatOrNot) {
  speakInstead("de_AT.UTF-8");
  EXPECT_EQ(refusedBy(LoginRule::DeniedByGUID),
            "Sie dürfen sich an diesem Computer nicht anmelden: Ihr Konto ist ausgeschlossen.");
  EXPECT_EQ(untilHours(at(kSeconds + 6 * 3600)),
            "Sie dürfen sich an diesem Computer nicht anmelden: nicht vor 08:00 Uhr.");
  speakInstead("zh_CN.UTF-8");
  EXPECT_EQ(refusedBy(LoginRule::DeniedByGUID), "您不能登录这台计算机：您的帐户已被排除。");
  speakInstead("POSIX");
  EXPECT_EQ(refusedBy(LoginRule::DeniedByGUID),
            "You may not log in on this computer: your account is excluded.");
}

TEST_F(SentenceTest, IsTranslatedIntoEveryLanguageThatThereIsACatalogueOf) {
  for (const auto* language : {"ar", "de", "es", "fr", "hi", "zh_CN"}) {
    speakInstead(language);
    for (const auto rule : kRefusals) {
      EXPECT_EQ(refusedBy(rule).find("You may"), std::string::npos) << language;
      EXPECT_LT(refusedBy(rule).size(), 512U) << "more than an answer holds";
    }
    EXPECT_NE(untilHours(at(kSeconds + 30 * 3600)).find("08:00"), std::string::npos) << language;
    EXPECT_EQ(undecidableSentence().find("It can't"), std::string::npos) << language;
    EXPECT_LT(undecidableSentence().size(), 512U) << language;
  }
}

}  // namespace
}  // namespace gatehall::pam
