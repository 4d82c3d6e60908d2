#include "platform/linux/LocalContext.h"

namespace gatehall {

const LoginShells& LocalContext::shells() {
  const std::lock_guard lock(mMutex);
  if (!mShells) mShells.emplace(mHost->options);
  return *mShells;
}

const UserRecords& LocalContext::userRecords() {
  const std::lock_guard lock(mMutex);
  if (!mUserRecords) mUserRecords.emplace(mHost->options, mHost->faults);
  return *mUserRecords;
}

const LocalSettings& LocalContext::settings() {
  const std::lock_guard lock(mMutex);
  if (!mSettings) mSettings = LocalSettings::read(mHost->options, mHost->faults);
  return *mSettings;
}

std::shared_ptr<const UserRecord> LocalContext::userRecordFor(const PasswdEntry& entry) {
  auto record = userRecords().named(entry.name);
  if (!record || !record->userID || *record->userID == entry.userID) return record;
  mHost->faults.report("/etc/userdb/" + record->userName + ".user",
                       "uid " + std::to_string(*record->userID) + " is not the " +
                           std::to_string(entry.userID) +
                           " of /etc/passwd; the record is not used");
  return nullptr;
}

}  // namespace gatehall
