#include <gtest/gtest.h>

#include "greeter/machine/Scale.h"

namespace gatehall::greeter {
namespace {

TEST(Scale, FollowsHowFineTheMonitorIs) {
  EXPECT_EQ(scaleFor({1920, 1080, 527, 296}), 1);  // 24 inches
  EXPECT_EQ(scaleFor({3840, 2160, 597, 336}), 2);  // 27 inches
  EXPECT_EQ(scaleFor({3840, 2160, 885, 498}), 1);  // 40 inches
  EXPECT_EQ(scaleFor({3840, 2160, 293, 165}), 3);  // 13 inches
}

TEST(Scale, LeavesRoomForTheList) {
  EXPECT_EQ(scaleFor({1920, 1080, 293, 165}), 1);  // 13 inches
  EXPECT_EQ(scaleFor({2560, 1440, 310, 174}), 2);  // 14 inches
}

TEST(Scale, OfAMonitorOfUnknownSizeGoesByItsPixels) {
  EXPECT_EQ(scaleFor({1920, 1080, 0, 0}), 1);
  EXPECT_EQ(scaleFor({3840, 2160, 0, 0}), 2);
  EXPECT_EQ(scaleFor({3840, 2160, 16, 9}), 2);      // its aspect
  EXPECT_EQ(scaleFor({3840, 2160, 1016, 571}), 2);  // what an X server makes up
  EXPECT_EQ(scaleFor({}), 1);
}

}  // namespace
}  // namespace gatehall::greeter
