#include <array>
#include <gtest/gtest.h>
#include <string>

#include "linux/files/NearestName.h"

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

}  // namespace gatehall
