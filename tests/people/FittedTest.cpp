#include <gtest/gtest.h>
#include <string>

#include "people/Fitted.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

/// The host measures.
using Fitted = InstalledWorld;

constexpr double kWide = 100'000;
constexpr double kNarrow = 60;
const std::string kFont = "Sans, 12";

TEST_F(Fitted, IsTheTextWhereThereIsRoomForIt) {
  EXPECT_EQ(fitted("Ann Lee", kFont, kWide), "Ann Lee");
  EXPECT_EQ(fitted("Ann\nLee", kFont, kWide), "Ann Lee");
}

TEST_F(Fitted, IsCutInTheMiddleElse) {
  const std::string name = "Carol Wilhelmina Q. Featherstonehaugh-Cholmondeley";
  const auto text = fitted(name, kFont, kNarrow);
  EXPECT_LT(text.size(), name.size());
  EXPECT_EQ(text.front(), 'C');
  EXPECT_EQ(text.back(), 'y');
  EXPECT_NE(text.find("\u2026"), std::string::npos) << text;
}

TEST_F(Fitted, IsCutWhateverStandsAtItsEnd) {
  for (const auto& text : {std::string(500, '.'), std::string(500, ' '),
                           "A" + std::string(500, '.'), "Ann Lee" + std::string(500, ' ')}) {
    EXPECT_LT(fitted(text, kFont, kNarrow).size(), 30U) << text;
  }
}

}  // namespace
}  // namespace gatehall
