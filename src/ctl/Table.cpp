#include "ctl/Table.h"

#include <algorithm>
#include <cstddef>

#include "ctl/TerminalText.h"

namespace gatehall::ctl {

namespace {

constexpr std::size_t kGap = 2;

struct ShownCell {
  TerminalText content;
  const char* colour;
};
using ShownRow = std::vector<ShownCell>;

const char* colourOf(Tone tone) {
  switch (tone) {
    case Tone::Good:
      return "\x1B[32m";
    case Tone::Bad:
      return "\x1B[31m";
    case Tone::Plain:
      break;
  }
  return "";
}

std::vector<ShownRow> shownRows(const Table& table, TableStyle style) {
  std::vector<ShownRow> rows;
  if (style.legend && !table.header.empty() && !table.rows.empty()) {
    ShownRow row;
    for (const auto& title : table.header) row.push_back({forTerminal(title), "\x1B[1m"});
    rows.push_back(std::move(row));
  }
  for (const auto& cells : table.rows) {
    ShownRow row;
    for (const auto& cell : cells) row.push_back({forTerminal(cell.text), colourOf(cell.tone)});
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<std::size_t> columnWidths(const std::vector<ShownRow>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    // What stands last in a row needs no room kept for something behind it.
    for (std::size_t column = 0; column + 1 < row.size(); ++column) {
      widths[column] = std::max(widths[column], row[column].content.columns);
    }
  }
  return widths;
}

}  // namespace

std::string tableText(const Table& table, TableStyle style) {
  const auto rows = shownRows(table, style);
  const auto widths = columnWidths(rows);
  std::string text;
  for (const auto& row : rows) {
    std::size_t missing = 0;  // columns between what is written and the next cell
    for (std::size_t column = 0; column < row.size(); ++column) {
      const auto& [content, colour] = row[column];
      if (!content.text.empty()) {
        const bool coloured = style.colour && *colour != '\0';
        text.append(missing, ' ');
        if (coloured) text += colour;
        text += content.text;
        if (coloured) text += "\x1B[0m";
        missing = 0;
      }
      missing += std::max(widths[column], content.columns) - content.columns + kGap;
    }
    text += '\n';
  }
  if (style.legend && !table.count.empty()) {
    if (!rows.empty()) text += '\n';
    text += table.count + '\n';
  }
  return text;
}

std::string cellText(const Json& value) {
  if (value.is_null()) return "-";
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_string()) {
    auto text = value.get<std::string>();
    return text.empty() ? "\"\"" : text;
  }
  if (!value.is_array()) return value.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string text;
  for (const auto& element : value) {
    if (!text.empty()) text += ", ";
    text += cellText(element);
  }
  return text.empty() ? "(empty)" : text;
}

std::string countText(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace gatehall::ctl
