#include "gatehall/text/TruncationExtensions.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "gatehall/platform/Platform.h"

namespace gatehall {

namespace {

constexpr std::u16string_view kEllipsis = u"\u2026";

/// Added to every measured width: drawing rounds.
constexpr double kSlack = 3.0;

/// Taken off the first estimate, so that the passes come to the narrowest cut from below.
constexpr double kUndercut = 8.0;

float measuredWidth(const AttributedString& string) { return static_cast<float>(string.width()); }

/// How much wider than the width the string is.
double excessWidth(const AttributedString& string, float width) {
  return static_cast<double>(measuredWidth(string)) + kSlack - static_cast<double>(width);
}

bool isAbsorbed(char16_t character) { return character == u' ' || character == u'.'; }

TextRange composedCharacter(const AttributedString& string, std::uint64_t index) {
  const auto [location, length] = platform().text().composedCharacterRange(string.string(), index);
  return {location, length};
}

/// How many units to cut at first, of a range of that many units and that width.
std::uint64_t firstCut(double excess, float rangeWidth, std::uint64_t rangeLength) {
  const auto unit =
      static_cast<float>(static_cast<double>(rangeWidth) / static_cast<double>(rangeLength));
  const float count = std::ceil(static_cast<float>(excess) / unit);
  const double cut = static_cast<double>(count) - kUndercut;
  return cut > 0 ? static_cast<std::uint64_t>(cut) : 0;
}

/// The part that is cut out, and whether it grows before the next pass.
struct Cut {
  std::uint64_t start;
  std::uint64_t length;
  bool widens = false;
};

/// One pass: the cut grows by a unit on each side, to whole composed characters, and then swallows
/// a space or full stop beside it. Having swallowed one, it does not grow before the next pass.
void growCut(const AttributedString& string, std::uint64_t rangeStart, Cut& cut) {
  if (cut.widens) {
    const auto grown = adjustRange(string, {cut.start - 1, cut.length + 2});
    cut.start = grown.location;
    cut.length = grown.length;
  }
  cut.widens = true;
  if (cut.start > rangeStart && isAbsorbed(string.characterAtIndex(cut.start - 1))) {
    --cut.start;
    ++cut.length;
    cut.widens = false;
  }
  if (cut.start > rangeStart && isAbsorbed(string.characterAtIndex(cut.start + cut.length))) {
    ++cut.length;
    cut.widens = false;
  }
}

}  // namespace

AttributedString truncatedStringToFit(const AttributedString& string, float width) {
  return truncatedStringToFit(string, width, {0, string.length()});
}

AttributedString truncatedStringToFit(const AttributedString& string, float width,
                                      TextRange range) {
  MutableAttributedString copy(string);
  truncateToFit(copy, width, range);
  return copy;
}

TextRange adjustRange(const AttributedString& string, TextRange range) {
  const auto length = string.length();
  if (range.location >= length || range.length > length - range.location) {
    throw RangeException(range);
  }
  if (range.length == 0) return range;
  const TextRange head =
      range.location == 0 ? TextRange{0, 0} : composedCharacter(string, range.location);
  const TextRange tail =
      range.end() == length ? TextRange{length, 0} : composedCharacter(string, range.end() - 1);
  const auto start = std::min(head.location, tail.location);
  return {start, std::max(head.end(), tail.end()) - start};
}

void truncateToFit(MutableAttributedString& string, float width) {
  truncateToFit(string, width, {0, string.length()});
}

void truncateToFit(MutableAttributedString& string, float width, TextRange range) {
  const double excess = excessWidth(string, width);
  if (!(excess > 0) || range.length == 0) return;
  const float rangeWidth = measuredWidth(string.attributedSubstring(range));
  if (excess > static_cast<double>(rangeWidth)) {
    string.replaceCharacters(adjustRange(string, range), kEllipsis);
    return;
  }

  const auto length = firstCut(excess, rangeWidth, range.length);
  // From the range's length alone: the middle of the string where the range is all of it. Where it
  // is not, the cut has always started here.
  Cut cut{(range.length - length) / 2, length};
  MutableAttributedString candidate;
  do {
    growCut(string, range.location, cut);
    candidate.setAttributedString(string);
    candidate.replaceCharacters({cut.start, cut.length}, kEllipsis);
  } while (excessWidth(candidate, width) > 0 && cut.start > range.location);
  string.setAttributedString(candidate);
}

}  // namespace gatehall
