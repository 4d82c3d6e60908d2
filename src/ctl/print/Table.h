#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ctl/print/Json.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// What a colour says about a cell; the text says it as well.
enum class Tone { Plain, Good, Bad };

struct Cell {
  std::string text;
  Tone tone = Tone::Plain;
};

/// Rows for people to read.
struct Table {
  std::vector<std::string> header{};      ///< may be empty
  std::vector<std::vector<Cell>> rows{};  ///< each of any length
  std::string count{};                    ///< a last line that sums up; may be empty
};

struct TableStyle {
  bool legend = true;   ///< with header and count
  bool colour = false;  ///< with the terminal's colours (ECMA-48)
};

/// The table with its columns aligned, one line a row. What cells hold can't drive a terminal.
std::string tableText(const Table& table, TableStyle style);

/// A JSON value as a cell says it: absent "-", a flag "yes" or "no", a list "a, b".
std::string cellText(const Json& value);

/// The text in lines of at most so many bytes each, as far as there are spaces to end them at.
Strings linesOf(std::string_view text, std::size_t longest);

/// "1 user", "2 users".
std::string countText(std::size_t count, const std::string& noun);

}  // namespace gatehall::ctl
