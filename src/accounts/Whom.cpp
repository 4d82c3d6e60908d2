#include "accounts/Whom.h"

#include <charconv>
#include <system_error>

#include "base/Ascii.h"

namespace gatehall {

namespace {

std::uint32_t userIDIn(const std::string& text) {
  std::uint32_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  constexpr std::uint32_t kLargest = 4294967294;
  if (error != std::errc() || stop != end || number > kLargest) {
    throw MeansNobody("'" + text + "' is not a user id: a decimal number from 0 to " +
                      std::to_string(kLargest));
  }
  return number;
}

}  // namespace

Whom whomMeant(const std::string& text) {
  if (text.empty()) throw MeansNobody("a name is empty");
  if (ascii::isNumber(text)) return userIDIn(text);
  if (const auto guid = parseUUID(text)) return *guid;
  return text;
}

std::string whomText(const Whom& whom) {
  if (const auto* userID = std::get_if<std::uint32_t>(&whom)) return std::to_string(*userID);
  if (const auto* guid = std::get_if<UUIDBytes>(&whom)) return uuidText(*guid);
  return std::get<std::string>(whom);
}

}  // namespace gatehall
