#include <gtest/gtest.h>

#include "world/json/DateText.h"

namespace gatehall {
namespace {

Date atSecond(double seconds) { return Date(std::chrono::duration<double>(seconds)); }

TEST(DateText, ReadsMoments) {
  EXPECT_EQ(dateFromText("1970-01-01T00:00:00Z"), atSecond(0));
  EXPECT_EQ(dateFromText("2026-11-21T09:00:00Z"), atSecond(1'795'251'600));
  EXPECT_EQ(dateFromText("2024-02-29T23:59:59.25Z"), atSecond(1'709'251'199.25));
  EXPECT_EQ(dateFromText("2026-11-21T10:30:00+01:30"), atSecond(1'795'251'600));
  EXPECT_EQ(dateFromText("2026-11-21T08:00:00-01:00"), atSecond(1'795'251'600));
}

TEST(DateText, RefusesEverythingElse) {
  for (const auto* text :
       {"", "2026", "2026-11-21", "2026-11-21T09:00:00", "2026-11-21 09:00:00Z",
        "2026-13-01T00:00:00Z", "2026-00-01T00:00:00Z", "2026-02-29T00:00:00Z",
        "2026-04-31T00:00:00Z", "2026-11-21T24:00:00Z", "2026-11-21T09:60:00Z",
        "2026-11-21T09:00:60Z", "2026-11-21T09:00:00.Z", "2026-11-21T09:00:00.1234567890Z",
        "2026-11-21T09:00:00Z ", " 2026-11-21T09:00:00Z", "2026-11-21T09:00:00+1",
        "+026-11-21T09:00:00Z", "2026-11-2 T09:00:00Z"}) {
    EXPECT_FALSE(dateFromText(text)) << text;
  }
}

}  // namespace
}  // namespace gatehall
