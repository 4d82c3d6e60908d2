#include "linux/accounts/OwnAccount.h"

#include <algorithm>

#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/UserRecord.h"
#include "linux/records/AccountID.h"

namespace gatehall {

bool isOwnAccount(const HostOptions& options, FaultLog& faults, std::string_view name,
                  std::uint32_t userID) {
  constexpr std::size_t kUserIDField = 2;
  bool isFound = false;
  accountFiles::scanRequired(options, faults, accountFiles::kPasswd,
                             [&](std::string_view line, std::uint64_t) {
                               const auto id = accountID(accountLine::field(line, kUserIDField));
                               isFound = !id || *id == userID || accountLine::name(line) == name;
                               return !isFound;
                             });
  if (isFound) return true;
  const UserRecords records(options, faults);
  return std::ranges::any_of(records.all(), [&](const auto& record) {
    return record->userID == userID || record->userName == name ||
           std::ranges::find(record->aliases, name) != record->aliases.end();
  });
}

}  // namespace gatehall
