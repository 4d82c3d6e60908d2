#include "linux/local/AccountAtDoor.h"

#include <algorithm>
#include <pwd.h>
#include <string_view>

#include "gatehall/base/PlatformException.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/Group.h"
#include "linux/accounts/Passwd.h"
#include "linux/local/Settings.h"

namespace gatehall {

namespace {

struct LocalAccount {
  std::uint32_t userID;
  std::uint32_t groupID;
};

std::optional<LocalAccount> localAccount(const HostOptions& options, FaultLog& faults,
                                         std::string_view loginName) {
  std::optional<LocalAccount> found;
  accountFiles::scan(options, faults, accountFiles::kPasswd,
                     [&](std::string_view line, std::uint64_t) {
                       if (accountLine::name(line) != loginName) return true;
                       std::string fault;
                       const auto entry = parsePasswdLine(line, fault);
                       if (entry) found = {entry->userID, entry->groupID};
                       return false;
                     });
  return found;
}

bool isMember(const GroupEntry& group, std::string_view loginName) {
  bool isFound = false;
  eachMember(group.members, [&](std::string_view member) {
    isFound = member == loginName;
    return !isFound;
  });
  return isFound;
}

bool isAdministrator(const HostOptions& options, FaultLog& faults, std::string_view loginName,
                     std::uint32_t groupID) {
  auto settings = local::Settings::read(options, faults);
  if (!settings.adminGroupsAreKnown) settings = local::Settings();
  bool isFound = false;
  accountFiles::scan(
      options, faults, accountFiles::kGroup, [&](std::string_view line, std::uint64_t) {
        std::string fault;
        const auto group = parseGroupLine(line, fault);
        isFound =
            group &&
            std::ranges::find(settings.adminGroups, group->name) != settings.adminGroups.end() &&
            (group->groupID == groupID || isMember(*group, loginName));
        return !isFound;
      });
  return isFound;
}

}  // namespace

AccountAtDoor accountAtDoor(const HostOptions& options, Log& log, const std::string& loginName) {
  AccountAtDoor account{loginName};
  try {
    FaultLog faults(log);
    const auto local = localAccount(options, faults, loginName);
    const auto* entry = options.root.empty() ? getpwnam(loginName.c_str()) : nullptr;
    if (entry != nullptr) account = {entry->pw_name, entry->pw_uid};
    if (local && (entry == nullptr || entry->pw_uid == local->userID)) {
      account.userID = local->userID;
      account.isLocalAdministrator =
          local->userID == 0 || isAdministrator(options, faults, loginName, local->groupID);
    }
  } catch (const PlatformException& failure) {
    log.error(failure.what());
  }
  return account;
}

}  // namespace gatehall
