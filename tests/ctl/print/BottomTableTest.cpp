#include <gtest/gtest.h>

#include "ctl/print/BottomTable.h"

namespace gatehall::ctl {
namespace {

Table tableOf(std::size_t rows, const std::string& text = "x") {
  Table table;
  table.rows.resize(rows, {{text}});
  return table;
}

constexpr ScreenSize kScreen{.rows = 10, .columns = 20};

TEST(BottomTable, StandsBelowTheLinesAndIsReplacedWithTheNextOnes) {
  BottomTable table;
  EXPECT_EQ(table.repainted("one\n", tableOf(2), {}, kScreen), "one\n\nx\nx\n");
  EXPECT_EQ(table.repainted("two\n", tableOf(1, "y"), {}, kScreen), "\x1B[3A\x1B[Jtwo\n\ny\n");
  EXPECT_EQ(table.repainted("", tableOf(1, "y"), {}, kScreen), "\x1B[2A\x1B[J\ny\n");
}

TEST(BottomTable, CountsTheRowsThatALongLineTakes) {
  BottomTable table;
  table.repainted("", tableOf(1, std::string(41, 'x')), {}, kScreen);
  EXPECT_EQ(table.repainted("", tableOf(1), {}, kScreen), "\x1B[4A\x1B[J\nx\n");
  table.repainted("", tableOf(1, "åäö åäö åäö åäö åäö!"), {.colour = true}, kScreen);
  EXPECT_EQ(table.repainted("", tableOf(1), {}, kScreen), "\x1B[2A\x1B[J\nx\n");
}

TEST(BottomTable, IsLeftOutWhenThereIsNoRoomForIt) {
  BottomTable table;
  EXPECT_EQ(table.repainted("one\n", tableOf(9), {}, kScreen), "one\n");
  EXPECT_FALSE(table.isShown());
  EXPECT_EQ(
      table.repainted("two\n", tableOf(8), {}, kScreen), "two\n\n" + [] {
        std::string rows;
        for (int row = 0; row < 8; ++row) rows += "x\n";
        return rows;
      }());
  EXPECT_EQ(table.repainted("three\n", tableOf(9), {}, kScreen), "\x1B[9A\x1B[Jthree\n");
  EXPECT_EQ(table.repainted("four\n", tableOf(1), {}, {}), "four\n");
}

}  // namespace
}  // namespace gatehall::ctl
