#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "people/Search.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

ListedUser named(const std::string& longName, const std::string& shortName) {
  ListedUser user;
  user.longName = longName;
  user.shortName = shortName;
  user.uid = 4711;
  return user;
}

bool finds(const std::string& typed, const ListedUser& user) {
  return isFound(searchedNames(user), searchWords(typed));
}

TEST(Search, FindsAnyPartOfTheLongAndTheShortName) {
  const auto ann = named("Ann Lee", "alee7");
  for (const auto* typed : {"Ann", "nn L", "ee", "alee7", "e7", "", " ", "ann lee"}) {
    EXPECT_TRUE(finds(typed, ann)) << typed;
  }
  for (const auto* typed : {"anna", "lee8", "annlee", "4711", "leealee"}) {
    EXPECT_FALSE(finds(typed, ann)) << typed;
  }
}

TEST(Search, FindsWhoeverHasAllWordsInAnyOrder) {
  const auto ann = named("Ann Mary Lee", "al");
  EXPECT_TRUE(finds("lee ann", ann));
  EXPECT_TRUE(finds("  al   le ", ann));
  EXPECT_FALSE(finds("lee bob", ann));
}

TEST(Search, TakesNoCaseAndNoMarksIntoAccount) {
  EXPECT_TRUE(finds("ERIN", named("Érin Łukaszewicz", "e")));
  EXPECT_TRUE(finds("lukasz", named("Érin Łukaszewicz", "e")));
  EXPECT_TRUE(finds("nguyen", named("Nguyễn Văn", "n")));
  EXPECT_TRUE(finds("NGUYỄN", named("nguyen", "n")));
  EXPECT_TRUE(finds("παπαδοπουλος", named("Αλέξανδρος Παπαδόπουλος", "a")));
  EXPECT_TRUE(finds("ЮЛИЯ", named("Юлия", "j")));
  EXPECT_TRUE(finds("strasse", named("Weiß-Straße", "w")));
  EXPECT_FALSE(finds("erik", named("Érin", "e")));
}

TEST(Search, FindsInEveryScript) {
  EXPECT_TRUE(finds("小明", named("王小明", "xm")));
  EXPECT_TRUE(finds("कुमार", named("राम कुमार", "rk")));
  EXPECT_FALSE(finds("कामार", named("राम कुमार", "rk")));
  EXPECT_TRUE(finds("احمد", named("أَحْمَد", "ah")));
  EXPECT_TRUE(finds("fullwidth", named("Ｆｕｌｌｗｉｄｔｈ", "f")));
}

TEST(Search, FindsWhoHasNoNameByTheUserID) {
  ListedUser user;
  user.uid = 4711;
  EXPECT_TRUE(finds("471", user));
  EXPECT_FALSE(finds("472", user));
}

TEST(Search, FindsNobodyAcrossTwoNames) {
  EXPECT_FALSE(finds("leeal", named("Lee", "al")));
  EXPECT_THAT(searchWords("a\tb\n\u00A0c"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(searchWords(" \t"), IsEmpty());
}

}  // namespace
}  // namespace gatehall
