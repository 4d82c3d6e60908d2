#include <gtest/gtest.h>

#include "portable/text/CaseFolding.h"

namespace gatehall {
namespace {

TEST(CaseFolding, MakesTextsEqualThatDifferOnlyInCase) {
  EXPECT_EQ(foldedCase("Ann LEE-2"), "ann lee-2");
  EXPECT_EQ(foldedCase("ÅSA Östlund"), foldedCase("åsa öSTLUND"));
  EXPECT_EQ(foldedCase("ΝΊΚΟΣ"), foldedCase("νίκος"));
  EXPECT_EQ(foldedCase("ИВАН"), foldedCase("иван"));
  EXPECT_EQ(foldedCase("STRASSE"), foldedCase("straße"));
}

TEST(CaseFolding, KeepsTextsApartThatDifferOtherwise) {
  EXPECT_NE(foldedCase("Ännchen"), foldedCase("Annchen"));
  EXPECT_EQ(foldedCase(""), "");
  EXPECT_EQ(foldedCase("山田"), "山田");
}

TEST(CaseFolding, CountsMalformedSequencesAsReplacementCharacters) {
  EXPECT_EQ(foldedCase("A\xFF"), "a\xEF\xBF\xBD");
}

}  // namespace
}  // namespace gatehall
