#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

/// Letters and digits of ASCII, whatever the locale.
namespace gatehall::ascii {

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
constexpr bool isAlphanumeric(char c) { return isDigit(c) || isLower(c) || isUpper(c); }

constexpr char lower(char c) { return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr char upper(char c) { return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c; }

inline std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = lower(c);
  return result;
}

/// Whether two texts are the same but for the case of such letters.
constexpr bool isSame(std::string_view left, std::string_view right) {
  return left.size() == right.size() &&
         std::equal(left.begin(), left.end(), right.begin(),
                    [](char one, char other) { return lower(one) == lower(other); });
}

/// One digit or more, and nothing else.
constexpr bool isNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

/// A hexadecimal digit's value; -1 for what is none.
constexpr int hexadecimalValue(char c) {
  if (isDigit(c)) return c - '0';
  const char low = lower(c);
  return low >= 'a' && low <= 'f' ? low - 'a' + 10 : -1;
}

/// Adds a byte's two digits, in lower case.
inline void appendHexadecimal(std::string& text, std::uint8_t byte) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  text += kDigits[byte >> 4U];
  text += kDigits[byte & 0xFU];
}

}  // namespace gatehall::ascii
