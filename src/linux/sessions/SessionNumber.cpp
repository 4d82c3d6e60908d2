#include "linux/sessions/SessionNumber.h"

#include <charconv>
#include <cstddef>

#include "base/Ascii.h"

namespace gatehall {

namespace {

/// 1 to 62, 0 for what is neither letter nor digit: without a zero digit, names of different
/// lengths differ.
std::int64_t digit(char c) {
  if (ascii::isDigit(c)) return c - '0' + 1;
  if (ascii::isLower(c)) return c - 'a' + 11;
  if (ascii::isUpper(c)) return c - 'A' + 37;
  return 0;
}

}  // namespace

std::optional<std::int64_t> sessionNumber(std::string_view name) {
  constexpr std::size_t longestDecimal = 18;
  constexpr std::size_t longest = 10;
  constexpr auto firstOther = std::int64_t{1} << 62U;  // above all decimals, 63^10 below the limit

  if (name.empty()) return std::nullopt;
  const bool isCanonical = name.front() != '0' || name.size() == 1;
  if (isCanonical && name.size() <= longestDecimal && ascii::isNumber(name)) {
    std::int64_t number = 0;
    std::from_chars(name.data(), name.data() + name.size(), number);
    return number;
  }
  if (name.size() > longest) return std::nullopt;
  std::int64_t number = 0;
  for (const char c : name) {
    const auto value = digit(c);
    if (value == 0) return std::nullopt;
    number = number * 63 + value;
  }
  return firstOther + number;
}

}  // namespace gatehall
