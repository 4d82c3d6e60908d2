#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "portable/text/IcuCollation.h"

namespace gatehall {
namespace {

int sign(int number) { return (number > 0) - (number < 0); }

/// The order by sort keys, which is to be that of compare.
int keyOrder(Collation& collation, std::string_view left, std::string_view right) {
  return sign(collation.sortKey(left).compare(collation.sortKey(right)));
}

/// Compares both ways and by both operations; anything but -1, 0 or 1 says that they disagree.
int order(Collation& collation, std::string_view left, std::string_view right) {
  const int forward = collation.compare(left, right);
  const bool agree =
      collation.compare(right, left) == -forward && keyOrder(collation, left, right) == forward;
  return agree ? forward : 99;
}

TEST(IcuCollation, IgnoresCase) {
  IcuCollation collation;
  EXPECT_EQ(order(collation, "ann", "ANN"), 0);
  EXPECT_EQ(order(collation, "ann", "Bob"), -1);
  EXPECT_EQ(order(collation, "Bob", "ann"), 1);
}

TEST(IcuCollation, TellsAccentsApart) {
  IcuCollation collation;
  EXPECT_EQ(order(collation, "resume", "résumé"), -1);
  EXPECT_EQ(order(collation, "résumé", "resumes"), -1);
  EXPECT_EQ(order(collation, "É", "é"), 0);
  EXPECT_EQ(order(collation, "e\xCC\x81", "é"), 0) << "composed and decomposed are one";
}

TEST(IcuCollation, OrdersRunsOfDigitsByValue) {
  IcuCollation collation;
  EXPECT_EQ(order(collation, "guest9", "guest10"), -1);
  EXPECT_EQ(order(collation, "guest007", "guest7"), 0);
  EXPECT_EQ(order(collation, "a2b10", "a2b9"), 1);
}

TEST(IcuCollation, PutsTheEmptyTextFirst) {
  IcuCollation collation;
  EXPECT_EQ(order(collation, "", ""), 0);
  EXPECT_EQ(order(collation, {}, "a"), -1);
}

TEST(IcuCollation, ReadsMalformedTextAsReplacementCharacters) {
  IcuCollation collation;
  EXPECT_EQ(order(collation, "a\xFFz", "a\xEF\xBF\xBDz"), 0);
  EXPECT_EQ(order(collation, "\xC3", "\xEF\xBF\xBD"), 0);
  EXPECT_EQ(order(collation, "\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"), 0);
  EXPECT_NE(order(collation, "\xF0\x9F\x98", "\xF0\x9F\x98\x80"), 0);
}

TEST(IcuCollation, FollowsTheLocale) {
  IcuCollation root;
  IcuCollation german("de_DE.UTF-8");
  IcuCollation swedish("sv_SE.UTF-8@euro");
  EXPECT_EQ(order(root, "ärla", "zorn"), -1);
  EXPECT_EQ(order(german, "ärla", "zorn"), -1);
  EXPECT_EQ(order(swedish, "ärla", "zorn"), 1);
}

TEST(IcuCollation, HasTheRootOrderWithoutALanguage) {
  for (const auto* name : {"", "C", "POSIX", "C.UTF-8", "xx_XX", "\xFF\xFF"}) {
    IcuCollation collation(name);
    EXPECT_EQ(order(collation, "ärla", "Zorn"), -1) << name;
  }
}

TEST(IcuCollation, OrdersDigitRunsOfAnyLengthTheSameBothWays) {
  IcuCollation collation;
  for (const std::size_t length : {253U, 254U, 255U, 300U, 509U, 1000U}) {
    const std::string run(length, '7');
    EXPECT_EQ(order(collation, run, run), 0) << length;
    EXPECT_EQ(order(collation, "x" + run + "1", "x" + run + "2"), -1) << length;
    EXPECT_NE(order(collation, run, run + "7"), 99) << length;
    EXPECT_NE(order(collation, "0" + run, run), 99) << length;
  }
}

TEST(IcuCollation, AgreesWithItsSortKeysOnArbitraryBytes) {
  IcuCollation collation;
  std::mt19937 random(1);
  const std::vector<std::string> pieces = {"a",    "A",    "é",        "e\xCC\x81", "0", "10", "9",
                                           "\xFF", "\xC3", "\xF0\x9F", " ",         "-", "ß",  "ss",
                                           "世",   "٣",    "\xED\xA0", "q\xCC\xA3"};
  std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
  std::uniform_int_distribution<int> count(0, 8);
  const auto text = [&] {
    std::string made;
    for (int n = count(random); n > 0; --n) made += pieces[pick(random)];
    return made;
  };
  for (int round = 0; round < 20000; ++round) {
    const auto left = text();
    const auto right = text();
    ASSERT_NE(order(collation, left, right), 99)
        << testing::PrintToString(left) << ' ' << testing::PrintToString(right);
  }
}

TEST(IcuCollation, KeysTextsOfAnyLength) {
  IcuCollation collation;
  const std::string text(100000, 'b');
  auto longer = text;
  longer += 'c';
  std::string smaller(99999, 'B');
  smaller += 'a';
  EXPECT_EQ(order(collation, text, longer), -1);
  EXPECT_EQ(order(collation, text, smaller), 1);
}

TEST(IcuCollation, ServesManyThreadsFromItsFirstUse) {
  IcuCollation collation;
  std::vector<std::thread> threads;
  std::atomic<int> wrong = 0;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int round = 0; round < 500; ++round) {
        if (order(collation, "erin2", "Erin10") != -1) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace gatehall
