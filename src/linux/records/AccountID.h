#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace gatehall {

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
