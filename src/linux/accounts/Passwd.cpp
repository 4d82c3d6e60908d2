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

PasswdLine::PasswdLine(std::string_view line, const PasswdEntry& entry)
    : mText(line),
      mUserID(entry.userID),
      mGroupID(entry.groupID),
      mNameLength(static_cast<std::uint32_t>(entry.name.size())),
      mPasswordLength(static_cast<std::uint32_t>(entry.password.size())) {
  const auto place = [line](std::string_view field) {
    return static_cast<std::uint32_t>(field.data() - line.data());
  };
  mGecosAt = place(entry.gecos);
  mHomeDirectoryAt = place(entry.homeDirectory);
  mShellAt = place(entry.shell);
}

PasswdEntry PasswdLine::entry() const {
  const std::string_view line = mText;
  // A colon stands between two fields.
  const auto upTo = [line](std::uint32_t begin, std::uint32_t next) {
    return line.substr(begin, next - 1 - begin);
  };
  return {name(),
          line.substr(mNameLength + 1, mPasswordLength),
          mUserID,
          mGroupID,
          upTo(mGecosAt, mHomeDirectoryAt),
          upTo(mHomeDirectoryAt, mShellAt),
          line.substr(mShellAt)};
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
