#include "world/json/Base64.h"

#include <cstdint>

namespace gatehall {

std::optional<Data> dataFromBase64(std::string_view text) {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (text.size() % 4 != 0) return std::nullopt;
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) text.remove_suffix(1);

  Data bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  unsigned held = 0;
  for (const char c : text) {
    const auto digit = digits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = bits << 6U | static_cast<std::uint32_t>(digit);
    held += 6;
    if (held < 8) continue;
    held -= 8;
    bytes.push_back(static_cast<std::uint8_t>(bits >> held));
    bits &= (1U << held) - 1U;
  }
  // Bits that make no whole byte are zero in the one right way to write the bytes.
  return bits == 0 && held < 6 ? std::optional(bytes) : std::nullopt;
}

}  // namespace gatehall
