#include "linux/local/Context.h"

#include "gatehall/base/PlatformException.h"
#include "linux/local/AdminGroup.h"
#include "linux/local/Groups.h"

namespace gatehall::local {

const LoginShells& Context::shells() {
  const std::lock_guard lock(mShells.mutex);
  if (!mShells.file) mShells.file.emplace(mHost->options);
  return *mShells.file;
}

const UserRecords& Context::userRecords() {
  const std::lock_guard lock(mUserRecords.mutex);
  if (!mUserRecords.file) mUserRecords.file.emplace(mHost->options, mHost->faults);
  return *mUserRecords.file;
}

const Settings& Context::settings() {
  const std::lock_guard lock(mSettings.mutex);
  if (!mSettings.file) mSettings.file = Settings::read(mHost->options, mHost->faults);
  return *mSettings.file;
}

void Context::requireReadableRecords(const std::unordered_set<std::string_view>& but) {
  const auto& records = userRecords();
  if (!records.folderFault().empty()) throw PlatformException(records.folderFault());
  for (const auto& [name, fault] : records.unreadable()) {
    if (!but.contains(name) && !isAdministrator(name, std::nullopt)) throw PlatformException(fault);
  }
}

bool Context::isAdministrator(std::string_view loginName,
                              std::optional<std::uint32_t> groupID) const {
  const auto admin = groupNamed(std::make_shared<Context>(mHost), AdminGroup::kName);
  return admin != nullptr && admin->holds(loginName, groupID);
}

std::shared_ptr<const UserRecord> Context::userRecordFor(const PasswdEntry& entry,
                                                         std::string& fault) {
  fault.clear();
  if (const auto* why = userRecords().faultOf(entry.name)) {
    fault = *why;
    return nullptr;
  }
  auto record = userRecords().named(entry.name);
  if (!record || !record->userID || *record->userID == entry.userID) return record;
  const auto path = "/etc/userdb/" + record->userName + ".user";
  const auto why = "uid " + std::to_string(*record->userID) + " is not the " +
                   std::to_string(entry.userID) + " of /etc/passwd";
  mHost->faults.report(path, why);
  fault.append(path).append(": ").append(why);
  return nullptr;
}

std::shared_ptr<const UserRecord> Context::userRecordFor(const PasswdEntry& entry) {
  std::string fault;
  auto record = userRecordFor(entry, fault);
  if (!fault.empty() && !isAdministrator(entry.name, entry.groupID)) throw PlatformException(fault);
  return record;
}

}  // namespace gatehall::local
