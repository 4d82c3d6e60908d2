#include <gtest/gtest.h>
#include <map>
#include <string>

#include "people/Words.h"

namespace gatehall {
namespace {

using Variables = std::map<std::string, std::string>;

Words wordsWith(const Variables& variables) {
  return wordsFor(
      [&](const char* name) {
        const auto found = variables.find(name);
        return found != variables.end() ? found->second.c_str() : nullptr;
      },
      GATEHALL_CATALOGUES);
}

std::string localeWith(const Variables& variables) { return wordsWith(variables).locale; }

TEST(Words, AreOfTheLocale) {
  const auto words = wordsWith({{"LANG", "de_AT.UTF-8"}});
  EXPECT_EQ(words.locale, "de_AT.UTF-8");
  EXPECT_EQ(words.translated("administrator"), "Administrator");
  EXPECT_EQ(words.translated("no message"), "no message");
}

TEST(Words, AreOfTheVariableThatComesFirst) {
  EXPECT_EQ(localeWith({{"LANG", "fr_FR"}, {"LC_MESSAGES", "es_ES"}}), "es_ES");
  EXPECT_EQ(localeWith({{"LANG", "fr_FR"}, {"LC_MESSAGES", ""}}), "fr_FR");
  EXPECT_EQ(localeWith({{"LANG", "fr_FR"}, {"LC_MESSAGES", "es_ES"}, {"LC_ALL", "de_DE"}}),
            "de_DE");
}

TEST(Words, AreOfTheFirstLanguageThatHasSome) {
  EXPECT_EQ(localeWith({{"LANG", "fr_FR"}, {"LANGUAGE", "tlh::hi:de"}}), "hi");
  EXPECT_EQ(localeWith({{"LANG", "fr_FR"}, {"LANGUAGE", "tlh"}}), "fr_FR");
  EXPECT_EQ(localeWith({{"LANG", "tlh"}}), "");
}

TEST(Words, AreEnglishWhereThatIsWantedFirst) {
  EXPECT_EQ(localeWith({{"LANG", "fr_FR"}, {"LANGUAGE", "en_GB:fr"}}), "");
  EXPECT_EQ(localeWith({{"LANG", "C.UTF-8"}, {"LANGUAGE", "fr"}}), "");
  EXPECT_EQ(localeWith({{"LANG", "POSIX"}, {"LANGUAGE", "fr"}}), "");
  EXPECT_EQ(localeWith({{"LANGUAGE", "fr"}}), "");
  EXPECT_EQ(localeWith({}), "");
}

TEST(Words, AreOfNoFileThatIsNoCatalogue) {
  EXPECT_EQ(localeWith({{"LANG", "../de"}}), "");
  EXPECT_EQ(localeWith({{"LANG", std::string(5000, 'd')}}), "");
}

TEST(Words, KnowWhichWayTheyAreWritten) {
  EXPECT_TRUE(wordsWith({{"LANG", "ar_EG.UTF-8"}}).isRightToLeft);
  EXPECT_FALSE(wordsWith({{"LANG", "de_DE.UTF-8"}}).isRightToLeft);
}

TEST(Words, TakeATextInItsPlace) {
  EXPECT_EQ(withPlace("not before %s.", "16:00"), "not before 16:00.");
  EXPECT_EQ(withPlace("%s", "%s %s"), "%s %s");
  EXPECT_EQ(withPlace("nothing", "16:00"), "nothing");
}

}  // namespace
}  // namespace gatehall
