#include <cstdlib>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <thread>
#include <time.h>
#include <vector>

#include "pam/Sentence.h"

namespace gatehall::pam {
namespace {

using Answer = DecisionRecord::Answer;

/// In a zone of its own, and in English unless a case says something else.
class SentenceTest : public testing::Test {
 protected:
  SentenceTest() {
    setenv("TZ", "XXX-2", 1);
    tzset();
  }
  ~SentenceTest() override {
    unsetenv("TZ");
    tzset();
  }

  static MessageCatalogue catalogue(const std::string& localeName) {
    return catalogueFor(localeName, "gatehall", GATEHALL_CATALOGUES);
  }

  static std::string refusedBy(LoginRule rule, const MessageCatalogue& language = {}) {
    return sentenceFor({.answer = Answer::Refused, .rule = rule}, kNow, language);
  }

  static std::string untilHours(std::optional<Date> begin, const MessageCatalogue& language = {}) {
    DoorDecision decision{.answer = Answer::Refused, .rule = LoginRule::LocalLoginEnabled};
    decision.isOutsideHours = true;
    decision.hoursBegin = begin;
    return sentenceFor(decision, kNow, language);
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
  const auto german = catalogue("de_AT.UTF-8");
  EXPECT_EQ(refusedBy(LoginRule::DeniedByGUID, german),
            "Sie dürfen sich an diesem Computer nicht anmelden: Ihr Konto ist ausgeschlossen.");
  EXPECT_EQ(untilHours(at(kSeconds + 6 * 3600), german),
            "Sie dürfen sich an diesem Computer nicht anmelden: nicht vor 08:00 Uhr.");
  EXPECT_EQ(refusedBy(LoginRule::DeniedByGUID, catalogue("zh_CN.UTF-8")),
            "您不能登录这台计算机：您的帐户已被排除。");
  EXPECT_EQ(refusedBy(LoginRule::DeniedByGUID, catalogue("POSIX")),
            "You may not log in on this computer: your account is excluded.");
}

TEST_F(SentenceTest, IsTranslatedIntoEveryLanguageThatThereIsACatalogueOf) {
  for (const auto* name : {"ar", "de", "es", "fr", "hi", "zh_CN"}) {
    const auto language = catalogue(name);
    for (const auto rule : kRefusals) {
      EXPECT_EQ(refusedBy(rule, language).find("You may"), std::string::npos) << name;
      EXPECT_LT(refusedBy(rule, language).size(), 512U) << "more than an answer holds";
    }
    EXPECT_NE(untilHours(at(kSeconds + 30 * 3600), language).find("08:00"), std::string::npos)
        << name;
    EXPECT_EQ(undecidableSentence(language).find("It can't"), std::string::npos) << name;
    EXPECT_LT(undecidableSentence(language).size(), 512U) << name;
  }
}

TEST_F(SentenceTest, IsSaidInSeveralLanguagesAtTheSameTime) {
  std::vector<std::jthread> threads;
  for (const auto* name : {"ar", "de", "es", "fr", "hi", "zh_CN"}) {
    threads.emplace_back([name] {
      const auto expected = refusedBy(LoginRule::NetworkAway, catalogue(name));
      for (int time = 0; time < 100; ++time) {
        EXPECT_EQ(refusedBy(LoginRule::NetworkAway, catalogue(name)), expected);
      }
    });
  }
}

}  // namespace
}  // namespace gatehall::pam
