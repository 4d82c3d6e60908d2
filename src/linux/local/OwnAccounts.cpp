#include "linux/local/OwnAccounts.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <mutex>
#include <unordered_set>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountFiles.h"
#include "linux/accounts/Group.h"
#include "linux/accounts/UserRecord.h"
#include "linux/files/HostPath.h"
#include "linux/local/Settings.h"
#include "linux/records/AccountID.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::local {

namespace {

constexpr std::string_view kRecords = "/etc/userdb";
constexpr std::size_t kUserIDField = 2;

/// "NAME" of each file NAME.user, whatever is in it; an id is another name of a record.
std::unordered_set<std::string> recordFiles(const HostOptions& options) {
  std::unordered_set<std::string> stems;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(hostPath(options, kRecords).c_str()),
                                                   closedir);
  if (!folder) {
    if (errno == ENOENT || errno == ENOTDIR) return stems;
    throw PlatformException(std::string(kRecords) + ": " + strerrordesc_np(errno));
  }
  for (;;) {
    errno = 0;
    const auto* entry = readdir(folder.get());
    if (entry == nullptr) break;
    constexpr std::string_view kSuffix = ".user";
    const std::string_view file = entry->d_name;
    if (file.ends_with(kSuffix)) stems.emplace(file.substr(0, file.size() - kSuffix.size()));
  }
  if (errno != 0) throw PlatformException(std::string(kRecords) + ": " + strerrordesc_np(errno));
  return stems;
}

class OwnAccountsSnapshot final : public LocalAccounts::Snapshot {
 public:
  OwnAccountsSnapshot(const HostOptions& options, FaultLog& faults, MachineGUIDs& guids,
                      std::shared_ptr<const PasswdLines::Snapshot> lines)
      : mOptions(options),
        mFaults(faults),
        mGUIDs(guids),
        mLines(std::move(lines)),
        mNames(recordFiles(options)) {
    for (const auto& name : mNames) {
      if (const auto id = accountID(name)) mUserIDs.insert(*id);
    }
    if (mNames.empty()) return;
    mRecords = UserRecords(options, faults);
    for (const auto& record : mRecords.all()) {
      mNames.insert(record->userName);
      mNames.insert(record->aliases.begin(), record->aliases.end());
      if (record->userID) mUserIDs.insert(*record->userID);
      if (record->uuid) mUUIDs.insert(*record->uuid);
    }
  }

  LocalAccounts::Likeness likenessTo(const NetworkAccount& account,
                                     std::string& why) const override {
    using Likeness = LocalAccounts::Likeness;
    const auto copy = copyOf(account);
    bool isLike = copy != nullptr;
    const auto isTwin = [&](bool isLocal, bool isCopys) {
      isLike = isLike || isLocal;
      return isLocal && !isCopys;
    };
    const auto twinBy = [&](const std::string& what) {
      why = "has " + what + " of a local account";
      return Likeness::Twin;
    };
    for (const auto name : account.names) {
      const bool isCopys = copy && (name == copy->userName ||
                                    std::ranges::find(copy->aliases, name) != copy->aliases.end());
      if (isTwin(hasName(name), isCopys)) return twinBy("the name " + printable(name));
    }
    if (account.userID) {
      const auto id = *account.userID;
      const bool isCopys = copy && userIDOf(*copy) == id;
      if (isTwin(hasUserID(id), isCopys)) return twinBy("the user id " + std::to_string(id));
    }
    const bool isCopysGUID = copy && copy->uuid && copy->uuid == account.guid;
    if (account.guid && isTwin(hasGUID(*account.guid), isCopysGUID)) return twinBy("the GUID");
    return isLike ? Likeness::Copy : Likeness::None;
  }

  bool isAccount(std::string_view name, std::uint32_t userID) const override {
    const auto line = mLines->lineNamed(name);
    if (!line.empty()) return accountID(accountLine::field(line, kUserIDField)) == userID;
    const auto record = mRecords.named(name);
    return record && userIDOf(*record) == userID;
  }

  bool isNameOfAdministrator(std::string_view name) const override {
    const std::lock_guard lock(mMutex);
    if (!mAdministratorsAreRead) readAdministrators();
    mAdministratorsAreRead = true;
    return mAdministrators.contains(std::string(name));
  }

 private:
  /// The local account that is a copy of that one; nullptr when there is none.
  std::shared_ptr<const UserRecord> copyOf(const NetworkAccount& account) const {
    auto record = account.names.empty() ? nullptr : mRecords.named(account.names.front());
    if (!record) return nullptr;
    const auto original = record->attributes.find(attribute::OriginalNodeName);
    const bool isOfNode =
        original != record->attributes.end() &&
        std::ranges::find(original->second, account.nodeName) != original->second.end();
    return isOfNode || (record->uuid && record->uuid == account.guid) ? record : nullptr;
  }

  std::optional<std::uint32_t> userIDOf(const UserRecord& record) const {
    const auto line = mLines->lineNamed(record.userName);
    return line.empty() ? record.userID : accountID(accountLine::field(line, kUserIDField));
  }

  bool hasName(std::string_view name) const {
    return !mLines->lineNamed(name).empty() || mNames.contains(std::string(name));
  }
  bool hasUserID(std::uint32_t userID) const {
    return mLines->hasUserID(userID) || mUserIDs.contains(userID);
  }
  bool hasGUID(const UUIDBytes& guid) const {
    return mUUIDs.contains(guid) || (isNameBased(guid) && mLines->userIDOf(guid, mGUIDs));
  }

  /// Few accounts have a further name that has to be looked for here.
  void readAdministrators() const {
    const auto groups = Settings::read(mOptions, mFaults).adminGroups;
    accountFiles::scanRequired(
        mOptions, mFaults, accountFiles::kGroup, [&](std::string_view line, std::uint64_t) {
          if (std::ranges::find(groups, accountLine::name(line)) == groups.end()) return true;
          std::string fault;
          const auto group = parseGroupLine(line, fault);
          if (!group) return true;  // whoever reads the group says so
          eachMember(group->members, [this](std::string_view name) {
            mAdministrators.emplace(name);
            return true;
          });
          return true;
        });
  }

  const HostOptions& mOptions;
  FaultLog& mFaults;
  MachineGUIDs& mGUIDs;
  const std::shared_ptr<const PasswdLines::Snapshot> mLines;
  UserRecords mRecords;
  std::unordered_set<std::string> mNames;  ///< of the records
  std::unordered_set<std::uint32_t> mUserIDs;
  std::unordered_set<UUIDBytes, GUIDHash> mUUIDs;
  mutable std::mutex mMutex;
  mutable bool mAdministratorsAreRead = false;
  mutable std::unordered_set<std::string> mAdministrators;  ///< their names in the group file
};

}  // namespace

std::shared_ptr<const LocalAccounts::Snapshot> OwnAccounts::current() {
  return std::make_shared<OwnAccountsSnapshot>(mOptions, mFaults, mGUIDs, mPasswdLines.whole());
}

LocalAccounts::State OwnAccounts::state() const {
  return {FileState::of(hostPath(mOptions, accountFiles::kPasswd)),
          FileState::of(hostPath(mOptions, kRecords))};
}

}  // namespace gatehall::local
