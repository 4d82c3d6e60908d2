#pragma once

#include <cstddef>
#include <optional>
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

/// What becomes of a column of a table that is too wide.
enum class Fit {
  Whole,  ///< nothing: what somebody copies from it is there
  Cut,    ///< long cells end in an ellipsis
  Wrap,   ///< long cells go on below
  Extra,  ///< it is left out
};

/// Rows for people to read.
struct Table {
  std::vector<std::string> header{};      ///< may be empty
  std::vector<Fit> fits{};                ///< of the columns; without: the first Whole, others Cut
  std::vector<std::vector<Cell>> rows{};  ///< each of any length
  std::string count{};                    ///< a last line that sums up; may be empty
};

struct TableStyle {
  bool legend = true;   ///< with header and count
  bool colour = false;  ///< with the terminal's colours (ECMA-48)
  /// How many columns of a terminal a line may take, as far as the table's fits allow; absent: any
  /// number.
  std::optional<std::size_t> columns{};
  bool extras = true;  ///< with the columns that are Extra, as long as there is room for them
};

/// The table with its columns aligned, one line a row, or more where a cell is wrapped. The last
/// cell of a row that is shorter than others is left as it is. What cells hold can't drive a
/// terminal.
std::string tableText(const Table& table, TableStyle style);

/// A JSON value as a cell says it: absent "-", a flag "yes" or "no", a list "a, b".
std::string cellText(const Json& value);

/// The text in lines of at most so many bytes each, as far as there are spaces to end them at.
Strings linesOf(std::string_view text, std::size_t longest);

/// "1 user", "2 users".
std::string countText(std::size_t count, const std::string& noun);

}  // namespace gatehall::ctl
