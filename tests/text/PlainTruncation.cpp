#include "tests/text/PlainTruncation.h"

#include <algorithm>
#include <cmath>

namespace gatehall::plain {

namespace {

enum class Kind { Other, CR, LF, Control, Extend, Joiner, Spacing, Region, Picture, L, V, T, LV };

struct Character {
  std::size_t start;
  char32_t code;
};

bool isHigh(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLow(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

std::vector<Character> characters(const std::u16string& text) {
  std::vector<Character> result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (isHigh(text[index]) && index + 1 < text.size() && isLow(text[index + 1])) {
      const auto high = static_cast<char32_t>(text[index] - 0xD800);
      result.push_back({index, 0x10000 + high * 0x400 + (text[index + 1] - 0xDC00U)});
      ++index;
    } else {
      result.push_back({index, text[index]});
    }
  }
  return result;
}

Kind kindOf(char32_t code) {
  const auto within = [code](char32_t first, char32_t last) {
    return code >= first && code <= last;
  };
  if (code == 0x0D) return Kind::CR;
  if (code == 0x0A) return Kind::LF;
  if (code < 0x20) return Kind::Control;
  if (code == 0x200D) return Kind::Joiner;
  if (within(0x300, 0x36F) || within(0xFE00, 0xFE0F) || within(0x1F3FB, 0x1F3FF)) {
    return Kind::Extend;
  }
  if (code == 0x903) return Kind::Spacing;
  if (within(0x1F1E6, 0x1F1FF)) return Kind::Region;
  if (within(0x1F400, 0x1F64F) || code == 0x2764) return Kind::Picture;
  if (within(0x1100, 0x1112)) return Kind::L;
  if (within(0x1161, 0x1175)) return Kind::V;
  if (within(0x11A8, 0x11C2)) return Kind::T;
  if (within(0xAC00, 0xD7A3) && (code - 0xAC00) % 28 == 0) return Kind::LV;
  return Kind::Other;
}

/// Whether a character ends between the one before the index and that at the index; Unicode
/// Standard Annex 29, rules GB3 to GB13.
bool endsBefore(const std::vector<Kind>& kinds, std::size_t index) {
  const auto before = kinds[index - 1];
  const auto after = kinds[index];
  const auto isControl = [](Kind kind) {
    return kind == Kind::CR || kind == Kind::LF || kind == Kind::Control;
  };
  if (before == Kind::CR && after == Kind::LF) return false;
  if (isControl(before) || isControl(after)) return true;
  if (before == Kind::L && (after == Kind::L || after == Kind::V || after == Kind::LV)) {
    return false;
  }
  if ((before == Kind::LV || before == Kind::V) && (after == Kind::V || after == Kind::T)) {
    return false;
  }
  if (before == Kind::T && after == Kind::T) return false;
  if (after == Kind::Extend || after == Kind::Joiner || after == Kind::Spacing) return false;
  if (before == Kind::Joiner && after == Kind::Picture) {
    auto at = index - 1;
    while (at > 0 && kinds[at - 1] == Kind::Extend) --at;
    if (at > 0 && kinds[at - 1] == Kind::Picture) return false;
  }
  if (before == Kind::Region && after == Kind::Region) {
    std::size_t regions = 0;
    while (regions < index && kinds[index - 1 - regions] == Kind::Region) ++regions;
    return regions % 2 == 0;
  }
  return true;
}

std::u16string string(const Text& text) {
  std::u16string result;
  for (const auto& unit : text) result += unit.character;
  return result;
}

Text part(const Text& text, std::size_t from, std::size_t to) {
  Text result;
  for (auto index = from; index < to; ++index) result.push_back(text[index]);
  return result;
}

/// With the ellipsis in place of the units from one index up to another.
Text cutOut(const Text& text, std::size_t from, std::size_t to) {
  auto result = part(text, 0, from);
  double advance = 10;
  if (from < to) {
    advance = text[from].advance;
  } else if (!text.empty()) {
    advance = text[from > 0 ? from - 1 : 0].advance;
  }
  result.push_back({u'\u2026', advance});
  for (const auto& unit : part(text, to, text.size())) result.push_back(unit);
  return result;
}

struct Span {
  std::uint64_t from;
  std::uint64_t to;
};

/// Grown to whole characters, the text's own ends left as they are.
std::optional<Span> whole(const Text& text, Span span) {
  const std::uint64_t count = text.size();
  if (span.from >= count || span.to > count || span.to < span.from) return std::nullopt;
  if (span.from == span.to) return span;
  const auto ends = boundaries(string(text));
  while (std::ranges::find(ends, span.from) == ends.end()) --span.from;
  while (std::ranges::find(ends, span.to) == ends.end()) ++span.to;
  return span;
}

bool isSwallowed(const Unit& unit) { return unit.character == u' ' || unit.character == u'.'; }

}  // namespace

std::vector<std::size_t> boundaries(const std::u16string& text) {
  const auto all = characters(text);
  std::vector<Kind> kinds;
  for (const auto& character : all) kinds.push_back(kindOf(character.code));
  std::vector<std::size_t> result;
  for (std::size_t index = 0; index < all.size(); ++index) {
    if (index == 0 || endsBefore(kinds, index)) result.push_back(all[index].start);
  }
  result.push_back(text.size());
  return result;
}

double width(const Text& text) {
  double points = 0;
  for (std::size_t start = 0; start < text.size();) {
    auto end = start;
    while (end < text.size() && text[end].advance == text[start].advance) ++end;
    const auto count = boundaries(string(part(text, start, end))).size() - 1;
    for (std::size_t each = 0; each < count; ++each) points += text[start].advance;
    start = end;
  }
  return points;
}

std::optional<Text> truncated(const Text& text, float toFit, std::uint64_t location,
                              std::uint64_t length) {
  const auto isTooWide = [toFit](const Text& candidate) {
    return double{static_cast<float>(width(candidate))} + 3.0 > double{toFit};
  };
  if (!isTooWide(text) || length == 0) return text;
  const std::uint64_t count = text.size();
  if (location > count || length > count - location) return std::nullopt;

  const auto rangeWidth = static_cast<float>(width(part(text, location, location + length)));
  const double excess = double{static_cast<float>(width(text))} + 3.0 - double{toFit};
  if (excess > double{rangeWidth}) {
    const auto all = whole(text, {location, location + length});
    return all ? std::optional(cutOut(text, all->from, all->to)) : std::nullopt;
  }

  const auto unitWidth = static_cast<float>(double{rangeWidth} / static_cast<double>(length));
  const auto estimate = std::ceil(static_cast<float>(excess) / unitWidth);
  const std::uint64_t cut =
      estimate > 8.0F ? static_cast<std::uint64_t>(double{estimate} - 8.0) : 0;
  const auto start = (length - cut) / 2;
  Span span{start, start + cut};
  for (bool grows = false;;) {
    if (grows) {
      const auto grown = whole(text, {span.from - 1, span.to + 1});
      if (!grown) return std::nullopt;
      span = *grown;
    }
    grows = true;
    if (span.from > location && isSwallowed(text.at(span.from - 1))) {
      --span.from;
      grows = false;
    }
    if (span.from > location) {
      if (span.to >= count) return std::nullopt;
      if (isSwallowed(text[span.to])) {
        ++span.to;
        grows = false;
      }
    }
    if (span.to > count) return std::nullopt;
    auto candidate = cutOut(text, span.from, span.to);
    if (!isTooWide(candidate) || span.from <= location) return candidate;
  }
}

}  // namespace gatehall::plain
