#include <chrono>
#include <gtest/gtest.h>

#include "people/Stillness.h"

namespace gatehall {
namespace {

using std::chrono::milliseconds;

TEST(Stillness, IsThereATimeAfterItEnded) {
  const auto now = std::chrono::steady_clock::now();
  Stillness stillness;
  EXPECT_TRUE(stillness.isThere(now));
  stillness.end(now);
  EXPECT_FALSE(stillness.isThere(now));
  EXPECT_FALSE(stillness.isThere(now + milliseconds(199)));
  EXPECT_TRUE(stillness.isThere(now + milliseconds(200)));
  stillness.end(now + milliseconds(100));
  EXPECT_FALSE(stillness.isThere(now + milliseconds(299)));
}

}  // namespace
}  // namespace gatehall
