#include "linux/ldap/client/SecurityID.h"

#include <charconv>
#include <cstddef>
#include <cstdint>

namespace gatehall::ldap::securityID {

namespace {

// One byte each for the revision and the count of numbers, six for the authority, highest first,
// and four for each number, lowest first.
constexpr std::size_t kHead = 8;
constexpr std::size_t kNumber = 4;
constexpr std::size_t kMostNumbers = 15;

std::uint64_t byteAt(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

/// Reads the number in front, and takes it and the hyphen behind it away.
std::uint64_t takeNumber(std::string_view& text) {
  std::uint64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  const auto hyphen = text.find('-');
  text.remove_prefix(hyphen == std::string_view::npos ? text.size() : hyphen + 1);
  return number;
}

}  // namespace

std::optional<std::string> text(std::string_view bytes) {
  if (bytes.size() <= kHead || byteAt(bytes, 0) != 1) return std::nullopt;
  const auto count = byteAt(bytes, 1);
  if (count > kMostNumbers || bytes.size() != kHead + count * kNumber) return std::nullopt;
  std::uint64_t authority = 0;
  for (std::size_t index = 2; index < kHead; ++index) {
    authority = authority << 8U | byteAt(bytes, index);
  }
  std::string text = "S-1-" + std::to_string(authority);
  for (std::size_t at = kHead; at < bytes.size(); at += kNumber) {
    std::uint64_t number = 0;
    for (std::size_t index = kNumber; index > 0; --index) {
      number = number << 8U | byteAt(bytes, at + index - 1);
    }
    text += "-" + std::to_string(number);
  }
  return text;
}

std::string bytes(std::string_view text) {
  text.remove_prefix(std::string_view("S-1-").size());
  const auto authority = takeNumber(text);
  std::string head(2, '\1');
  for (unsigned shift = 48; shift > 0; shift -= 8) {
    head += static_cast<char>(authority >> (shift - 8) & 0xFFU);
  }
  std::string numbers;
  while (!text.empty()) {
    const auto number = takeNumber(text);
    for (unsigned shift = 0; shift < 32; shift += 8) {
      numbers += static_cast<char>(number >> shift & 0xFFU);
    }
  }
  head[1] = static_cast<char>(numbers.size() / kNumber);
  return head + numbers;
}

std::string_view number(std::string_view text) { return text.substr(text.rfind('-') + 1); }

std::string withNumber(std::string_view text, std::string_view number) {
  std::string other(text.substr(0, text.rfind('-') + 1));
  other += number;
  return other;
}

}  // namespace gatehall::ldap::securityID
