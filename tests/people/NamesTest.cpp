#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <string>

#include "people/Names.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

/// The host tells where characters end.
using Names = InstalledWorld;

ListedUser named(std::optional<std::string> longName, std::optional<std::string> shortName) {
  ListedUser user;
  user.longName = std::move(longName);
  user.shortName = std::move(shortName);
  user.uid = 1000;
  return user;
}

TEST_F(Names, ShowTheLongOneElseTheShortOneElseTheUserID) {
  EXPECT_EQ(shownName(named("Ann Lee", "ann")), "Ann Lee");
  EXPECT_EQ(shownName(named("", "ann")), "ann");
  EXPECT_EQ(shownName(named(std::nullopt, "ann")), "ann");
  EXPECT_EQ(shownName(named("", "")), "1000");
  EXPECT_EQ(shownName(named(std::nullopt, std::nullopt)), "1000");
}

TEST_F(Names, StandInOneLineAndTurnNothingBesideThem) {
  EXPECT_EQ(shownName(named("Ann\nLee\u2028Ray\u0085\x7F", "ann")), "Ann Lee Ray  ");
  EXPECT_EQ(shownName(named("\u202Enimda\u2066\u200F", "ann")), "nimda");
  EXPECT_EQ(shownName(named(" \n\u202E", "ann")), "ann");
  EXPECT_EQ(shownName(named("فاطمة", "ann")), "فاطمة");
}

TEST_F(Names, HaveAnEnd) {
  EXPECT_EQ(shownName(named(std::string(128, 'a'), {})), std::string(128, 'a'));
  EXPECT_EQ(shownName(named(std::string(50'000, 'a'), {})), std::string(127, 'a') + "…");
  // No character is cut in two.
  EXPECT_EQ(shownName(named(std::string(126, 'a') + "😀😀", {})), std::string(126, 'a') + "…");
}

TEST_F(Names, HaveTheInitialsOfTheFirstAndTheLastWord) {
  EXPECT_EQ(initials("Ann Lee"), "AL");
  EXPECT_EQ(initials("  ann  mary lee "), "AL");
  EXPECT_EQ(initials("ann"), "A");
  EXPECT_EQ(initials("Érin Łukasz"), "ÉŁ");
}

TEST_F(Names, HaveOneInitialWhereLettersJoin) {
  EXPECT_EQ(initials("فاطمة الزهراء"), "ف");
  EXPECT_EQ(initials("王 小明"), "王");
  EXPECT_EQ(initials("E\u0301rin Lee"), "E\u0301L");
}

TEST_F(Names, HaveNoInitialsWithoutWords) {
  EXPECT_EQ(initials(""), "");
  EXPECT_EQ(initials("   "), "");
}

TEST_F(Names, HaveAColourThatStaysWithTheUser) {
  auto user = named("Ann Lee", "ann");
  user.guid = "6C6B2F1E-0000-4000-8000-000000001000";
  const auto colour = faceColour(user);
  user.longName = "Ann Ray";
  EXPECT_EQ(faceColour(user), colour);
  std::set<std::uint32_t> colours;
  for (int number = 0; number < 200; ++number) {
    user.guid = std::to_string(number);
    colours.insert(faceColour(user));
  }
  EXPECT_EQ(colours.size(), 10U);
}

}  // namespace
}  // namespace gatehall
