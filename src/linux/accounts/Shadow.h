#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gatehall {

/// One line of shadow(5); days are counted from 1970-01-01. The texts point into the line.
struct ShadowEntry {
  std::string_view name;
  std::string_view hash;
  std::optional<std::int64_t> lastChangeDay;
  std::optional<std::int64_t> maximumDays;
  std::optional<std::int64_t> inactiveDays;
  std::optional<std::int64_t> expiryDay;
};

/// Reads a line; empty when it can't be read, with the reason in fault.
std::optional<ShadowEntry> parseShadowLine(std::string_view line, std::string& fault);

}  // namespace gatehall
