#include "linux/accounts/Group.h"

#include <array>

#include "linux/accounts/AccountLine.h"

namespace gatehall {

std::optional<GroupEntry> parseGroupLine(std::string_view line, std::string& fault) {
  fault.clear();
  std::array<std::string_view, 4> fields;
  const auto count = accountLine::split(line, fields);
  GroupEntry entry{fields[0], 0, fields[3]};
  if (!accountLine::checkLine(line, entry.name, count, fields.size(), fault) ||
      !accountLine::readID(fields[2], "group id", entry.groupID, fault)) {
    return std::nullopt;
  }
  return entry;
}

}  // namespace gatehall
