#include <gtest/gtest.h>
#include <string>

#include "portable/text/SearchForm.h"

namespace gatehall {
namespace {

TEST(SearchForm, LeavesNoCase) {
  EXPECT_EQ(searchForm("Ann LEE-2"), "ann lee-2");
  EXPECT_EQ(searchForm("ΣΊΣΥΦΟΣ"), searchForm("Σίσυφος"));
  EXPECT_EQ(searchForm("ß"), "ss");
  EXPECT_EQ(searchForm("𝐀𝐧𝐧"), "ann");
}

TEST(SearchForm, LeavesNoMarksThatALetterCanDoWithout) {
  EXPECT_EQ(searchForm("Ångström"), "angstrom");
  EXPECT_EQ(searchForm("A\u030Angstro\u0308m"), "angstrom");
  EXPECT_EQ(searchForm("مُحَمَّد"), "محمد");
  EXPECT_EQ(searchForm("مـحمد"), "محمد");
  EXPECT_EQ(searchForm("İıØøŁłĐđÆæŒœ"), "iioollddaeaeoeoe");
}

TEST(SearchForm, LeavesWhatMakesAnotherLetter) {
  EXPECT_EQ(searchForm("कु"), "कु");
  EXPECT_NE(searchForm("か"), searchForm("が"));
  EXPECT_NE(searchForm("क्ष"), searchForm("कष"));
}

TEST(SearchForm, HasPlainSpacesAndNothingUnseen) {
  EXPECT_EQ(searchForm("a\tb\nc\x7F"), "a b c ");
  EXPECT_EQ(searchForm("a\u00A0b\u3000c"), "a b c");
  EXPECT_EQ(searchForm("a\u200Db\u200Fc\u00AD"), "abc");
}

TEST(SearchForm, TakesAnythingForAText) {
  EXPECT_EQ(searchForm(""), "");
  EXPECT_EQ(searchForm("a\xFF"), "a\uFFFD");
  EXPECT_EQ(searchForm(std::string("a\0b", 3)), "a b");
  EXPECT_EQ(searchForm(std::string(100'000, 'A')), std::string(4096, 'a'));
}

}  // namespace
}  // namespace gatehall
