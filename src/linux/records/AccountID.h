#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace gatehall {

/// The user ids that a network directory's accounts may have. What (uid_t)-1 is in 16 and in 32
/// bits stands for nobody, whatever the bounds.
struct UserIDRange {
  std::uint32_t first = 1000;
  std::uint32_t last = UINT32_MAX - 1;

  bool holds(std::uint32_t userID) const {
    return userID >= first && userID <= last && userID != 0 && userID != UINT16_MAX &&
           userID != UINT32_MAX;
  }
};

/// A decimal user or group id. 4294967295 is none: as (uid_t)-1 it stands for "no id" in system
/// calls.
inline std::optional<std::uint32_t> accountID(std::string_view text) {
  std::uint32_t number = 0;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number == UINT32_MAX) return std::nullopt;
  return number;
}

}  // namespace gatehall
