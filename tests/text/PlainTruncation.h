#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Truncation once more, as slowly and plainly as can be, to compare with: it shares nothing with
/// the layer, not even the text system.
namespace gatehall::plain {

/// A UTF-16 unit and how wide characters of its style are.
struct Unit {
  char16_t character;
  double advance;
  friend bool operator==(const Unit&, const Unit&) = default;
};

using Text = std::vector<Unit>;

/// Where composed characters begin, and the text's end. Knows the character classes that the tests
/// use.
std::vector<std::size_t> boundaries(const std::u16string& text);

double width(const Text& text);

/// Absent: the range is refused.
std::optional<Text> truncated(const Text& text, float toFit, std::uint64_t location,
                              std::uint64_t length);

}  // namespace gatehall::plain
