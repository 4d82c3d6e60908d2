#include "ctl/print/Table.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "ctl/print/TerminalText.h"

namespace gatehall::ctl {

namespace {

constexpr std::size_t kGap = 2;

/// What a column is at least left that gives way.
constexpr std::size_t kNarrowest = 12;

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

std::vector<Cell> headerOf(const Table& table) {
  std::vector<Cell> row;
  row.reserve(table.header.size());
  for (const auto& title : table.header) row.push_back({title});
  return row;
}

/// A cell's text as a terminal shows it, and the columns that it takes.
struct Shown {
  std::string_view text;
  std::size_t columns;
};

/// Calls with what is shown of a cell. Tables may be long, so it is not kept, nor copied where it
/// is the cell's own text.
template <class Use>
void show(const std::string& text, Use use) {
  if (isPlainForTerminal(text)) {
    use(Shown{text, text.size()});
  } else {
    const auto shown = forTerminal(text);
    use(Shown{shown.text, shown.columns});
  }
}

struct Column {
  Fit fit = Fit::Cut;
  bool isLeftOut = false;
  std::size_t width = 0;  ///< of the cells that others follow
  std::size_t longest = 0;
  std::size_t most = std::string_view::npos;  ///< what a cell may take

  std::size_t taken() const { return std::min(width, most); }
  bool givesWay() const { return (fit == Fit::Cut || fit == Fit::Wrap) && taken() > kNarrowest; }
};

using Columns = std::vector<Column>;

/// The columns with all the room that their cells take.
Columns measured(const Table& table, bool withHeader) {
  Columns columns;
  const auto measure = [&](const std::vector<Cell>& row) {
    if (columns.size() < row.size()) columns.resize(row.size());
    for (std::size_t index = 0; index < row.size(); ++index) {
      show(row[index].text, [&](const Shown& content) {
        auto& column = columns[index];
        // What stands last in a row needs no room kept for something behind it.
        if (index + 1 < row.size()) column.width = std::max(column.width, content.columns);
        column.longest = std::max(column.longest, content.columns);
      });
    }
  };
  if (withHeader) measure(headerOf(table));
  for (const auto& row : table.rows) measure(row);
  for (std::size_t index = 0; index < columns.size(); ++index) {
    if (index < table.fits.size()) {
      columns[index].fit = table.fits[index];
    } else if (index == 0) {
      columns[index].fit = Fit::Whole;
    }
  }
  return columns;
}

/// Where there are extras to be shown, with them, else without.
void showExtras(Columns& columns, bool areShown) {
  Column* last = nullptr;
  for (auto& column : columns) {
    column.isLeftOut = column.fit == Fit::Extra && !areShown;
    if (!column.isLeftOut) last = &column;
  }
  if (last != nullptr) last->width = last->longest;
}

std::size_t lineLength(const Columns& columns) {
  std::size_t length = 0;
  for (const auto& column : columns) {
    if (!column.isLeftOut) length += column.taken() + kGap;
  }
  return length - std::min(length, kGap);
}

/// Leaves out and narrows columns until a line fits, as far as they allow: the widest first.
void narrow(Columns& columns, TableStyle style) {
  showExtras(columns, style.extras);
  if (!style.columns) return;
  if (lineLength(columns) > *style.columns) showExtras(columns, false);
  while (lineLength(columns) > *style.columns) {
    Column* widest = nullptr;
    for (auto& column : columns) {
      if (column.isLeftOut || !column.givesWay()) continue;
      if (widest == nullptr || column.taken() > widest->taken()) widest = &column;
    }
    if (widest == nullptr) return;
    widest->most = widest->taken() - 1;
  }
}

/// The beginning of the text, and what goes on below it.
std::pair<std::string, std::string> wrapped(std::string_view text, std::size_t columns) {
  const auto length = fittingLength(text, columns);
  if (length == text.size()) return {std::string(text), {}};
  const auto blank = text.rfind(' ', length);
  if (blank == std::string_view::npos || blank == 0) {
    return {std::string(text.substr(0, length)), std::string(text.substr(length))};
  }
  return {std::string(text.substr(0, blank)), std::string(text.substr(blank + 1))};
}

class Lines {
 public:
  Lines(const Columns& columns, bool coloured, std::string& text)
      : mColumns(columns), mIsColoured(coloured), mText(text) {}

  void add(const std::vector<Cell>& row, bool isHeader = false) {
    auto below = line(row, isHeader);
    while (!below.empty()) below = line(below, isHeader);
  }

 private:
  /// Returns what goes on in a line below.
  std::vector<Cell> line(const std::vector<Cell>& row, bool isHeader) {
    std::vector<Cell> below;
    mMissing = 0;
    for (std::size_t index = 0; index < row.size(); ++index) {
      const auto& column = mColumns[index];
      if (column.isLeftOut) continue;
      const auto& cell = row[index];
      const auto* colour = isHeader ? "\x1B[1m" : colourOf(cell.tone);
      show(cell.text, [&](const Shown& content) {
        const bool endsEarly = index + 1 == row.size() && index + 1 < mColumns.size();
        if (content.columns <= column.most || endsEarly) {
          put(content, colour, column.taken());
        } else if (column.fit == Fit::Wrap) {
          auto [first, rest] = wrapped(content.text, column.most);
          put({first, forTerminal(first).columns}, colour, column.taken());
          below.resize(mColumns.size());
          below[index] = {std::move(rest), cell.tone};
        } else {
          const auto length = fittingLength(content.text, column.most - 1);
          const auto cut = std::string(content.text.substr(0, length)) + "\u2026";
          put({cut, forTerminal(cut).columns}, colour, column.taken());
        }
      });
    }
    mText += '\n';
    return below;
  }

  void put(const Shown& content, const char* colour, std::size_t width) {
    if (!content.text.empty()) {
      const bool coloured = mIsColoured && *colour != '\0';
      mText.append(mMissing, ' ');
      if (coloured) mText += colour;
      mText += content.text;
      if (coloured) mText += "\x1B[0m";
      mMissing = 0;
    }
    mMissing += std::max(width, content.columns) - content.columns + kGap;
  }

  const Columns& mColumns;
  bool mIsColoured;
  std::string& mText;
  std::size_t mMissing = 0;  ///< columns between what is written and the next cell
};

}  // namespace

std::string tableText(const Table& table, TableStyle style) {
  const bool withHeader = style.legend && !table.header.empty() && !table.rows.empty();
  auto columns = measured(table, withHeader);
  narrow(columns, style);
  std::string text;
  text.reserve((table.rows.size() + 1) * (lineLength(columns) + 1) + table.count.size() + 1);
  Lines lines(columns, style.colour, text);
  if (withHeader) lines.add(headerOf(table), true);
  for (const auto& row : table.rows) lines.add(row);
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
