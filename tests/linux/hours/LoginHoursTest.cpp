#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "linux/hours/LoginHours.h"

namespace gatehall {
namespace {

/// The middle of Europe: an hour ahead of UTC, from the last Sunday of March, 02:00, to the last of
/// October, 03:00, two.
constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";

constexpr std::int64_t kHour = 3600;

class LoginHoursTest : public testing::Test {
 protected:
  LoginHoursTest() { setZone(kCentralEurope); }
  ~LoginHoursTest() override {
    unsetenv("TZ");
    tzset();
  }

  static void setZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  /// The moment at which it is "2026-11-21 20:00:00" in UTC.
  static std::time_t utc(const char* text) {
    std::tm parts{};
    EXPECT_NE(strptime(text, "%F %T", &parts), nullptr) << text;
    return timegm(&parts);
  }

  /// The next change as a text in UTC, "never" without one.
  static std::string change(const LoginHours& hours, const char* text) {
    const auto moment = hours.nextChange(utc(text));
    if (!moment) return "never";
    char room[32];
    std::tm parts{};
    gmtime_r(&*moment, &parts);
    std::strftime(room, sizeof room, "%F %T", &parts);
    return room;
  }
};

const LoginHours kEightToFive(8 * kHour, 17 * kHour);

TEST_F(LoginHoursTest, BeginWithTheStartAndEndBeforeTheEnd) {
  EXPECT_FALSE(kEightToFive.contain(utc("2026-11-21 06:59:59")));
  EXPECT_TRUE(kEightToFive.contain(utc("2026-11-21 07:00:00")));
  EXPECT_TRUE(kEightToFive.contain(utc("2026-11-21 15:59:59")));
  EXPECT_FALSE(kEightToFive.contain(utc("2026-11-21 16:00:00")));
}

TEST_F(LoginHoursTest, ChangeAtTheEndTheStartOfTodayOrTheStartOfTomorrow) {
  EXPECT_EQ(change(kEightToFive, "2026-11-21 12:00:00"), "2026-11-21 16:00:00");
  EXPECT_EQ(change(kEightToFive, "2026-11-21 05:00:00"), "2026-11-21 07:00:00");
  EXPECT_EQ(change(kEightToFive, "2026-11-21 16:00:00"), "2026-11-22 07:00:00");
  EXPECT_EQ(change(kEightToFive, "2026-11-21 22:59:59"), "2026-11-22 07:00:00");
  EXPECT_EQ(change(kEightToFive, "2026-11-21 23:00:00"), "2026-11-22 07:00:00");
  EXPECT_EQ(change(kEightToFive, "2026-12-31 20:00:00"), "2027-01-01 07:00:00");
}

TEST_F(LoginHoursTest, CountByTheMachinesZone) {
  setZone("NST3:30");
  EXPECT_EQ(change(kEightToFive, "2026-11-21 12:00:00"), "2026-11-21 20:30:00");
  setZone("<+1245>-12:45");
  EXPECT_EQ(change(kEightToFive, "2026-11-21 12:00:00"), "2026-11-21 19:15:00");
}

TEST_F(LoginHoursTest, MayReachMidnight) {
  const LoginHours evening(18 * kHour, LoginHours::kSecondsOfDay);
  EXPECT_EQ(change(evening, "2026-11-21 20:00:00"), "2026-11-21 23:00:00");
  EXPECT_EQ(change(evening, "2026-11-21 23:00:00"), "2026-11-22 17:00:00");
  const LoginHours morning(0, 6 * kHour);
  EXPECT_EQ(change(morning, "2026-11-21 20:00:00"), "2026-11-21 23:00:00");
  EXPECT_EQ(change(morning, "2026-11-21 23:00:00"), "2026-11-22 05:00:00");
}

TEST_F(LoginHoursTest, OfAWholeDayNeverChange) {
  const LoginHours always(0, LoginHours::kSecondsOfDay);
  EXPECT_TRUE(always.contain(utc("2026-11-21 22:59:59")));
  EXPECT_TRUE(always.contain(utc("2026-11-21 23:00:00")));
  EXPECT_EQ(change(always, "2026-03-28 12:00:00"), "never");
}

TEST_F(LoginHoursTest, ThatAreNoneAreNever) {
  for (const auto& [start, end] : {std::pair<std::int64_t, std::int64_t>{17 * kHour, 8 * kHour},
                                   {8 * kHour, 8 * kHour},
                                   {-1, 8 * kHour},
                                   {0, LoginHours::kSecondsOfDay + 1},
                                   {INT64_MIN, INT64_MAX}}) {
    const LoginHours hours(start, end);
    EXPECT_EQ(hours, LoginHours::never()) << start << " " << end;
    EXPECT_FALSE(hours.contain(utc("2026-11-21 08:00:00")));
    EXPECT_EQ(change(hours, "2026-11-21 08:00:00"), "never");
  }
}

TEST_F(LoginHoursTest, FollowTheClockWhenItIsSetForward) {
  EXPECT_EQ(change(kEightToFive, "2026-03-28 20:00:00"), "2026-03-29 06:00:00");
  // 02:30 does not exist; the clock is past it at 03:00.
  EXPECT_EQ(change({5 * kHour / 2, 8 * kHour}, "2026-03-28 23:30:00"), "2026-03-29 01:00:00");
  EXPECT_EQ(change({0, 5 * kHour / 2}, "2026-03-29 00:30:00"), "2026-03-29 01:00:00");
  // None of this day's seconds are in these.
  EXPECT_EQ(change({8100, 9900}, "2026-03-28 12:00:00"), "2026-03-30 00:15:00");
}

TEST_F(LoginHoursTest, FollowTheClockWhenItIsSetBack) {
  EXPECT_EQ(change(kEightToFive, "2026-10-24 20:00:00"), "2026-10-25 07:00:00");
  // 02:30 comes twice: what ended then begins again with the hour.
  const LoginHours untilHalfPastTwo(0, 5 * kHour / 2);
  EXPECT_EQ(change(untilHalfPastTwo, "2026-10-24 23:00:00"), "2026-10-25 00:30:00");
  EXPECT_EQ(change(untilHalfPastTwo, "2026-10-25 00:30:00"), "2026-10-25 01:00:00");
  EXPECT_EQ(change(untilHalfPastTwo, "2026-10-25 01:00:00"), "2026-10-25 01:30:00");
  const LoginHours fromHalfPastTwo(5 * kHour / 2, 8 * kHour);
  EXPECT_EQ(change(fromHalfPastTwo, "2026-10-25 00:30:00"), "2026-10-25 01:00:00");
}

}  // namespace
}  // namespace gatehall
