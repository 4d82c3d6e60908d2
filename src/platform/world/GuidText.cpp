#include "platform/world/GuidText.h"

#include <charconv>

namespace gatehall {

namespace {

bool isHyphenPlace(std::size_t at) { return at == 8 || at == 13 || at == 18 || at == 23; }

}  // namespace

std::optional<Identifier> identifierOfGUID(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  Identifier identifier{};
  std::size_t byte = 0;
  for (std::size_t at = 0; at < text.size();) {
    if (isHyphenPlace(at)) {
      if (text[at++] != '-') return std::nullopt;
      continue;
    }
    const auto digits = text.substr(at, 2);
    const auto* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, identifier[byte++], 16);
    if (error != std::errc() || stop != end) return std::nullopt;
    at += 2;
  }
  return identifier;
}

}  // namespace gatehall
