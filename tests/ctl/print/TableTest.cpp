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
