#include "linux/accounts/Passwd.h"

#include <array>

#include "base/Ascii.h"
#include "linux/accounts/AccountLine.h"

namespace gatehall {

std::optional<PasswdEntry> parsePasswdLine(std::string_view line, std::string& fault) {
  fault.clear();
  std::array<std::string_view, 7> fields;
  const auto count = accountLine::split(line, fields);
  PasswdEntry entry{fields[0], fields[1], 0, 0, fields[4], fields[5], fields[6]};
  if (!accountLine::checkLine(line, entry.name, count, fields.size(), fault) ||
      !accountLine::readID(fields[2], "user id", entry.userID, fault) ||
      !accountLine::readID(fields[3], "group id", entry.groupID, fault)) {
    return std::nullopt;
  }
  return entry;
}

PasswdEntry entryOfCopy(const PasswdEntry& entry, std::string_view line, std::string_view copy) {
  const auto moved = [&](std::string_view text) {
    return copy.substr(static_cast<std::size_t>(text.data() - line.data()), text.size());
  };
  return {moved(entry.name),  moved(entry.password),      entry.userID,      entry.groupID,
          moved(entry.gecos), moved(entry.homeDirectory), moved(entry.shell)};
}

std::string fullNameOfGecos(std::string_view gecos, std::string_view loginName) {
  const auto full = gecos.substr(0, gecos.find(','));
  if (full.find('&') == std::string_view::npos) return std::string(full);
  std::string name;
  for (const char c : full) {
    if (c != '&') {
      name += c;
      continue;
    }
    const auto start = name.size();
    name += loginName;
    if (start < name.size()) name[start] = ascii::upper(name[start]);
  }
  return name;
}

}  // namespace gatehall
