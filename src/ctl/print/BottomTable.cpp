#include "ctl/print/BottomTable.h"

#include <algorithm>
#include <string_view>

#include "ctl/print/TerminalText.h"

namespace gatehall::ctl {

namespace {

/// How many rows of the terminal the text takes, in which every line ends.
std::size_t rowsOf(std::string_view text, std::size_t columns) {
  std::size_t rows = 0;
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() + 1);
    const auto width = std::max<std::size_t>(forTerminal(line).columns, 1);
    rows += (width + columns - 1) / columns;
  }
  return rows;
}

}  // namespace

std::string BottomTable::repainted(const std::string& lines, const Table& table, TableStyle style,
                                   ScreenSize size) {
  std::string text;
  // Up to the table's first row, then nothing from there to the end of the screen (ECMA-48).
  if (mRows != 0) text += "\x1B[" + std::to_string(mRows) + "A\x1B[J";
  text += lines;
  mRows = 0;
  if (size.columns == 0) return text;
  if (style.columns) style.columns = size.columns;
  auto plain = style;
  plain.colour = false;
  const auto rows = 1 + rowsOf(tableText(table, plain), size.columns);
  if (rows >= size.rows) return text;
  mRows = rows;
  return text + "\n" + tableText(table, style);
}

}  // namespace gatehall::ctl
