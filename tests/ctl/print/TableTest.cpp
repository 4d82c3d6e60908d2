#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/print/Table.h"
#include "ctl/print/TerminalText.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall::ctl {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(Table, AlignsColumnsByWhatTheyTakeOnATerminal) {
  // A wide character takes two columns, a combining one none.
  const Table table{.header = {"NAME", "UID"},
                    .rows = {{{"田中"}, {"1"}}, {{"Zoe\u0308"}, {"2"}}, {{"Ann-Lee"}, {"3"}}}};
  EXPECT_EQ(tableText(table, {}),
            "NAME     UID\n"
            "田中     1\n"
            "Zoe\u0308      2\n"
            "Ann-Lee  3\n");
}

TEST(TooWideTable, CutsCellsButNotThoseThatSomebodyCopies) {
  const Table table{.header = {"UID", "NAME", "LONG NAME"},
                    .fits = {Fit::Whole, Fit::Whole, Fit::Cut},
                    .rows = {{{"1000"}, {"a-rather-long-name"}, {"Somebody With A Long Name"}},
                             {{"1001"}, {"bob"}, {"\u5C0F\u7530\u539F\u5C0F\u7530\u539F\u5E02"}}}};
  EXPECT_EQ(tableText(table, {.columns = 39}),
            "UID   NAME                LONG NAME\n"
            "1000  a-rather-long-name  Somebody Wit\u2026\n"
            "1001  bob                 \u5C0F\u7530\u539F\u5C0F\u7530\u539F\u2026\n");
  EXPECT_THAT(tableText(table, {.columns = 30}),
              HasSubstr("1000  a-rather-long-name  Somebody Wi\u2026\n"))
      << "narrower columns say nothing";
  EXPECT_THAT(tableText(table, {}), HasSubstr("Somebody With A Long Name\n"));
  EXPECT_THAT(tableText(table, {.columns = 51}), HasSubstr("Somebody With A Long Name\n"));
}

TEST(TooWideTable, CutsTheWidestFirst) {
  const Table table{.rows = {{{"key"}, {std::string(30, 'x')}, {std::string(20, 'y')}}}};
  EXPECT_EQ(tableText(table, {.columns = 45}),
            "key  " + std::string(18, 'x') + "\u2026  " + std::string(18, 'y') + "\u2026\n");
}

TEST(TooWideTable, WrapsSentencesAtTheirSpaces) {
  const Table table{
      .header = {"KEY", "WHAT", "WHERE"},
      .fits = {Fit::Whole, Fit::Wrap, Fit::Whole},
      .rows = {{{"a"},
                {"one two three four "
                 "\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436"},
                {"here"}},
               {{"b"}, {"x", Tone::Bad}, {"there"}}}};
  EXPECT_EQ(tableText(table, {.columns = 25}),
            "KEY  WHAT           WHERE\n"
            "a    one two three  here\n"
            "     four\n"
            "     \u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\u0436\n"
            "b    x              there\n");
}

TEST(TooWideTable, LeavesOutExtraColumnsThatHaveNoRoomOrAreNotWanted) {
  const Table table{.header = {"UID", "GUID", "X"},
                    .fits = {Fit::Whole, Fit::Extra, Fit::Cut},
                    .rows = {{{"1"}, {"0-0-0"}, {"x"}}}};
  const std::string whole = "UID  GUID   X\n1    0-0-0  x\n";
  EXPECT_EQ(tableText(table, {.columns = 13}), whole);
  EXPECT_EQ(tableText(table, {.columns = 12}), "UID  X\n1    x\n");
  EXPECT_EQ(tableText(table, {.columns = 80, .extras = false}), "UID  X\n1    x\n");
  EXPECT_EQ(tableText(table, {}), whole);
}

TEST(TooWideTable, LeavesALineThatIsNoRowOfItsColumnsAsItIs) {
  const Table table{.header = {"A", "B", "C"},
                    .rows = {{{"1"}, {"2"}, {"3"}}, {{""}, {std::string(40, 'x')}}}};
  EXPECT_EQ(tableText(table, {.columns = 20}),
            "A  B  C\n1  2  3\n   " + std::string(40, 'x') + "\n");
}

TEST(Lines, EndAtSpacesWhereThereAreAny) {
  EXPECT_EQ(linesOf("one two three", 7), (Strings{"one two", "three"}));
  EXPECT_EQ(linesOf("one two three", 6), (Strings{"one", "two", "three"}));
  EXPECT_EQ(linesOf("atlongest two", 4), (Strings{"atlongest", "two"}));
  EXPECT_EQ(linesOf("atlongest", 4), Strings{"atlongest"});
  EXPECT_EQ(linesOf("", 4), Strings{""});
}

TEST(Table, EndsLinesWithoutSpaces) {
  const Table table{.rows = {{{"a"}, {""}}, {{"long"}, {"b"}}}};
  EXPECT_EQ(tableText(table, {}), "a\nlong  b\n");
}

TEST(Table, ColoursOnlyOnRequestAndNotWhatSeparates) {
  const Table table{.header = {"X"}, .rows = {{{"no", Tone::Bad}, {"z"}}}};
  EXPECT_EQ(tableText(table, {.colour = true}), "\x1B[1mX\x1B[0m\n\x1B[31mno\x1B[0m  z\n");
  EXPECT_EQ(tableText(table, {}), "X\nno  z\n");
}

TEST(Table, WithoutLegendIsItsRows) {
  const Table table{.header = {"X"}, .rows = {{{"1"}}}, .count = "1 x"};
  EXPECT_EQ(tableText(table, {.legend = false}), "1\n");
}

TEST(TerminalText, EscapesWhatATerminalWouldObey) {
  EXPECT_EQ(forTerminal("a\x1B[2Jb").text, "a\\x1B[2Jb");
  EXPECT_EQ(forTerminal("a\r\nb\tc\x7F").text, "a\\x0D\\x0Ab\\x09c\\x7F");
  EXPECT_EQ(forTerminal(std::string_view("a\0b", 3)).text, "a\\x00b");
  EXPECT_EQ(forTerminal("\u009B2J").text, "\\u{009B}2J");
  EXPECT_EQ(forTerminal("\u202Enna").text, "\\u{202E}nna");
  EXPECT_EQ(forTerminal("\u2028").text, "\\u{2028}");
}

TEST(TerminalText, EscapesMalformedBytesOneByOne) {
  EXPECT_EQ(forTerminal("\xFFx\xC3").text, "\\xFFx\\xC3");
  EXPECT_EQ(forTerminal("\xC0\xAF").text, "\\xC0\\xAF");
  EXPECT_EQ(forTerminal("\xED\xA0\x80").text, "\\xED\\xA0\\x80");
}

TEST(TerminalText, CountsTheColumnsOfWhatItShows) {
  EXPECT_EQ(forTerminal("Ann").columns, 3U);
  EXPECT_EQ(forTerminal("Zoe\u0308").columns, 3U);
  EXPECT_EQ(forTerminal("田中").columns, 4U);
  EXPECT_EQ(forTerminal("\x1B").columns, 4U);
}

TEST(TerminalText, FitsByWholeCharacters) {
  EXPECT_EQ(fittingLength("Ann", 2), 2U);
  EXPECT_EQ(fittingLength("Ann", 5), 3U);
  EXPECT_EQ(fittingLength("\u7530\u4E2D", 3), 3U);
  EXPECT_EQ(fittingLength("Zoe\u0308x", 3), 5U) << "with what combines with it";
}

TEST(HostileNames, DoNotDriveATerminal) {
  // JSON's own escapes: an escape sequence, the same with a C1 control, DEL.
  const auto world = household("", R"(\u001b[2J\u009b2J\u007fBob)");
  for (const auto& words :
       {Strings{"user", "1001"}, Strings{"switch", "-switchToUserID", "1001"},
        Strings{"--json", "user", "1001"}, Strings{"--trace", "user", "1001"}}) {
    const auto outcome = runIn(world, words);
    EXPECT_THAT(outcome.output, HasSubstr("Bob"));
    for (const auto* control : {"\x1B", "\u009B", "\x7F"}) {
      EXPECT_THAT(outcome.output, Not(HasSubstr(control)));
    }
  }
  EXPECT_EQ(documentOf(runIn(world, {"--json", "user", "1001"}))["longName"],
            "\x1B[2J\u009B2J\x7F"
            "Bob");
}

TEST(HostileNames, DoNotDriveATerminalThroughMessages) {
  const auto outcome = run({"--world", "/\x1B[2J", "prefs"}, true);
  EXPECT_THAT(outcome.errors, Not(HasSubstr("\x1B")));
  EXPECT_THAT(outcome.errors, HasSubstr("/\\x1B[2J"));
}

}  // namespace
}  // namespace gatehall::ctl
