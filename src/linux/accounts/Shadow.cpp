#include "linux/accounts/Shadow.h"

#include <array>
#include <charconv>

#include "linux/accounts/AccountLine.h"

namespace gatehall {

namespace {

/// An empty field, and -1 as some tools write it, are no number.
bool readDays(std::string_view text, std::string_view what, std::optional<std::int64_t>& days,
              std::string& fault) {
  if (text.empty() || text == "-1") return true;
  std::uint32_t number = 0;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) {
    // Not quoted: in a line with a colon too few, the field is a password's hash.
    fault = std::string(what) + " is not a number of days";
    return false;
  }
  days = number;
  return true;
}

}  // namespace

std::optional<ShadowEntry> parseShadowLine(std::string_view line, std::string& fault) {
  fault.clear();
  std::array<std::string_view, 9> fields;
  const auto count = accountLine::split(line, fields);
  ShadowEntry entry{fields[0], fields[1], {}, {}, {}, {}};
  if (!accountLine::checkLine(line, entry.name, count, fields.size(), fault) ||
      !readDays(fields[2], "last change", entry.lastChangeDay, fault) ||
      !readDays(fields[4], "maximum age", entry.maximumDays, fault) ||
      !readDays(fields[6], "inactivity period", entry.inactiveDays, fault) ||
      !readDays(fields[7], "expiry date", entry.expiryDay, fault)) {
    return std::nullopt;
  }
  return entry;
}

}  // namespace gatehall
