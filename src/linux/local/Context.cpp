#include "linux/local/Context.h"

namespace gatehall::local {

const LoginShells& Context::shells() {
  std::call_once(mShells.isRead, [this] { mShells.file.emplace(mHost->options); });
  return *mShells.file;
}

const UserRecords& Context::userRecords() {
  std::call_once(mUserRecords.isRead,
                 [this] { mUserRecords.file.emplace(mHost->options, mHost->faults); });
  return *mUserRecords.file;
}

const Settings& Context::settings() {
  std::call_once(mSettings.isRead,
                 [this] { mSettings.file = Settings::read(mHost->options, mHost->faults); });
  return *mSettings.file;
}

std::shared_ptr<const UserRecord> Context::userRecordFor(const PasswdEntry& entry) {
  auto record = userRecords().named(entry.name);
  if (!record || !record->userID || *record->userID == entry.userID) return record;
  mHost->faults.report("/etc/userdb/" + record->userName + ".user",
                       "uid " + std::to_string(*record->userID) + " is not the " +
                           std::to_string(entry.userID) +
                           " of /etc/passwd; the record is not used");
  return nullptr;
}

}  // namespace gatehall::local
