#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gatehall {

/// One line of group(5). The texts point into the line.
struct GroupEntry {
  std::string_view name;
  std::uint32_t groupID = 0;
  std::string_view members;  ///< login names between commas
};

/// Reads a line; empty when it can't be read, with the reason in fault.
std::optional<GroupEntry> parseGroupLine(std::string_view line, std::string& fault);

/// Calls visit with each name of a list between commas, until it answers false.
template <class Visit>
void eachMember(std::string_view members, Visit visit) {
  while (!members.empty()) {
    const auto comma = members.find(',');
    const auto name = members.substr(0, comma);
    if (!name.empty() && !visit(name)) return;
    members.remove_prefix(comma == std::string_view::npos ? members.size() : comma + 1);
  }
}

}  // namespace gatehall
