#include <gtest/gtest.h>
#include <thread>

#include "service/bus/Places.h"
#include "service/bus/Turns.h"

namespace gatehall {
namespace {

TEST(Turns, GoAroundTheUserIDs) {
  MainLoop loop(std::this_thread::get_id(), [](EventLoop&) {});
  service::Turns turns(loop);
  std::string done;
  const auto add = [&](std::uint32_t userID, const char* what) {
    turns.add(userID, [&done, what] { done += what; });
  };
  for (const auto* what : {"a", "b", "c"}) add(1000, what);
  add(1001, "x");
  add(0, "r");
  add(1001, "y");
  turns.add(1000, [&] { add(1002, "n"); });
  loop.dispatch();
  EXPECT_EQ(done, "axrbycn");
  add(1000, "z");
  loop.dispatch();
  EXPECT_EQ(done, "axrbycnz");
}

TEST(Places, AreSoManyOfOneAndSoManyInAll) {
  service::Places places(2, 3);
  const auto first = places.take(1000);
  auto second = places.take(1000);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
  EXPECT_EQ(places.take(1000), nullptr);
  const auto other = places.take(1001);
  EXPECT_NE(other, nullptr);
  EXPECT_EQ(places.take(1002), nullptr);
  EXPECT_EQ(places.taken(), 3U);
  second.reset();
  EXPECT_NE(places.take(1002), nullptr);
  EXPECT_EQ(places.taken(), 2U);
  second = places.take(1000);
  EXPECT_NE(second, nullptr);
}

}  // namespace
}  // namespace gatehall
