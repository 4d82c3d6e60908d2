#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "portable/text/NearestName.h"

namespace gatehall {

namespace {

constexpr std::array<std::string_view, 3> kNames{"AllowList", "DenyList", "HideAdminUsers"};

NearestName nearest(std::string_view text) { return nearestName(text, kNames); }

}  // namespace

TEST(NearestName, IsASlipAwayByOneLetterOrTwoThatChangedPlacesInEitherCase) {
  for (const auto* slip : {"DenyList", "denylist", "DENYLIST", "DenyLists", "DenyLis", "enyList",
                           "DenzList", "DneyList", "DenyLits", "dinylist"}) {
    EXPECT_EQ(nearest(slip).name, "DenyList") << slip;
    EXPECT_TRUE(nearest(slip).isSlip()) << slip;
  }
}

TEST(NearestName, IsFoundForTextsThatAreFurtherAway) {
  EXPECT_EQ(nearest("DeniedList").name, "DenyList");
  EXPECT_EQ(nearest("DeniedList").edits, 3U);
  EXPECT_EQ(nearest("HideAdmins").name, "HideAdminUsers");
  EXPECT_FALSE(nearest("HideAdmins").isSlip());
  EXPECT_EQ(nearest("").edits, 8U);
  EXPECT_FALSE(nearest(std::string(100000, 'a')).isSlip());
}

TEST(NearestNames, AreTheFewThatMayHaveBeenMeantNearestFirst) {
  constexpr std::array<std::string_view, 6> people{"dan", "dana", "ann", "anna", "carol", "dana"};
  EXPECT_EQ(nearestNames("dnaa", people, 3), (std::vector<std::string_view>{"dana"}));
  EXPECT_EQ(nearestNames("dana", people, 3), (std::vector<std::string_view>{"dana", "dan"}));
  EXPECT_EQ(nearestNames("danna", people, 1), (std::vector<std::string_view>{"dana"}));
  EXPECT_EQ(nearestNames("CAROL", people, 3), (std::vector<std::string_view>{"carol"}));
  EXPECT_TRUE(nearestNames("bob", people, 3).empty()) << "two of three letters are another";
  EXPECT_TRUE(nearestNames("", people, 3).empty());
  EXPECT_TRUE(nearestNames("dana", {}, 3).empty());
  EXPECT_TRUE(nearestNames(std::string(100000, 'a'), people, 3).empty());
}

}  // namespace gatehall
