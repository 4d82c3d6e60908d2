#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>

#include "people/Times.h"

namespace gatehall {
namespace {

constexpr Date kMorning =
    std::chrono::sys_days(std::chrono::year(2026) / 11 / 2) + std::chrono::minutes(545);

class Times : public ::testing::Test {
 protected:
  Times() { setZone("UTC0"); }
  ~Times() override {
    unsetenv("TZ");
    tzset();
  }

  static void setZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
};

TEST_F(Times, OfTheDayAreWithoutAZeroInFront) {
  EXPECT_EQ(timeOfDay(kMorning), "9:05");
  EXPECT_EQ(timeOfDay(kMorning + std::chrono::hours(11)), "20:05");
  EXPECT_EQ(timeOfDay(kMorning - std::chrono::hours(9)), "0:05");
}

TEST_F(Times, AreInTheMachinesZone) {
  setZone("EAST-2");
  EXPECT_EQ(timeOfDay(kMorning), "11:05");
}

TEST_F(Times, GoByAFormat) {
  EXPECT_EQ(timeText(kMorning, "%A, %-e %B %Y"), "Monday, 2 November 2026");
  EXPECT_EQ(timeText(kMorning, ""), "");
}

TEST_F(Times, ThatAreTooLongAreNotWritten) {
  EXPECT_EQ(timeText(kMorning, std::string(255, '-')), std::string(255, '-'));
  EXPECT_EQ(timeText(kMorning, std::string(256, '-')), "");
}

}  // namespace
}  // namespace gatehall
