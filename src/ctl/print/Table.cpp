#include "ctl/print/Table.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "ctl/print/TerminalText.h"

namespace gatehall::ctl {

namespace {

constexpr std::size_t kGap = 2;

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

/// A cell's text as a terminal shows it, and the columns that it takes.
struct Shown {
  std::string_view text;
  std::size_t columns;
};

/// Calls each with every cell's column, what is shown, and colour; and ends a row. Tables may be
/// long, so what is shown is not kept, nor copied where it is the cell's own text.
template <class Each, class EndRow>
void forEachShown(const Table& table, TableStyle style, Each each, EndRow endRow) {
  if (table.rows.empty()) return;
  const auto show = [&](std::size_t column, const std::string& text, const char* colour) {
    if (isPlainForTerminal(text)) {
      each(column, Shown{text, text.size()}, colour);
    } else {
      const auto shown = forTerminal(text);
      each(column, Shown{shown.text, shown.columns}, colour);
    }
  };
  if (style.legend && !table.header.empty()) {
    std::size_t column = 0;
    for (const auto& title : table.header) show(column++, title, "\x1B[1m");
    endRow();
  }
  for (const auto& row : table.rows) {
    std::size_t column = 0;
    for (const auto& cell : row) show(column++, cell.text, colourOf(cell.tone));
    endRow();
  }
}

struct Measures {
  std::vector<std::size_t> columns;  ///< how wide each is
  std::size_t length = 0;            ///< about that of the whole text
};

Measures measuresOf(const Table& table, TableStyle style) {
  Measures measures;
  std::size_t last = 0;  // the columns of the cell that came last
  std::size_t count = 0;
  auto& columns = measures.columns;
  forEachShown(
      table, style,
      [&](std::size_t column, const Shown& content, const char*) {
        columns.resize(std::max(columns.size(), column + 1));
        // What stands last in a row needs no room kept for something behind it.
        if (column > 0) columns[column - 1] = std::max(columns[column - 1], last);
        last = content.columns;
        measures.length += content.text.size() - std::min(content.text.size(), content.columns);
      },
      [&] {
        measures.length += last;
        ++count;
      });
  for (const auto width : columns) measures.length += count * (width + kGap);
  return measures;
}

}  // namespace

std::string tableText(const Table& table, TableStyle style) {
  const auto measures = measuresOf(table, style);
  std::string text;
  text.reserve(measures.length + table.count.size() + 2);
  std::size_t missing = 0;  // columns between what is written and the next cell
  forEachShown(
      table, style,
      [&](std::size_t column, const Shown& content, const char* colour) {
        if (!content.text.empty()) {
          const bool coloured = style.colour && *colour != '\0';
          text.append(missing, ' ');
          if (coloured) text += colour;
          text += content.text;
          if (coloured) text += "\x1B[0m";
          missing = 0;
        }
        const auto width = measures.columns[column];
        missing += std::max(width, content.columns) - content.columns + kGap;
      },
      [&] {
        text += '\n';
        missing = 0;
      });
  if (style.legend && !table.count.empty()) {
    if (!table.rows.empty()) text += '\n';
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

Strings linesOf(std::string_view text, std::size_t longest) {
  Strings lines;
  while (text.size() > longest) {
    const auto blank = std::min(text.rfind(' ', longest), text.find(' ', longest));
    if (blank == std::string_view::npos) break;
    lines.emplace_back(text.substr(0, blank));
    text.remove_prefix(blank + 1);
  }
  lines.emplace_back(text);
  return lines;
}

std::string countText(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace gatehall::ctl
