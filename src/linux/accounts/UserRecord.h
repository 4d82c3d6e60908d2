#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/files/SecretText.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

/// What the directory uses of a JSON user record (systemd's "JSON User Records").
struct UserRecord {
  std::string userName;
  std::optional<std::uint32_t> userID;
  std::optional<std::uint32_t> groupID;
  std::string realName;
  std::string homeDirectory;
  std::string shell;
  std::string disposition;
  std::optional<UUIDBytes> uuid;
  Strings aliases;
  Strings memberOf;
  bool isLocked = false;
  std::optional<std::uint64_t> notAfterMicroseconds;  ///< since 1970-01-01 00:00 UTC
  /// Attribute kinds by name, from the record's section "com.orvane.gatehall".
  std::map<std::string, Strings, std::less<>> attributes;
};

/// Reads a record; nullptr when it can't be read, with the reason and place in fault.
std::shared_ptr<const UserRecord> parseUserRecord(std::string_view text, std::string& fault);

/// The password hashes of a user record, from the file that keeps its privileged section. No
/// file: no hashes.
struct PrivilegedHashes {
  bool isUnreadable = false;
  std::vector<std::unique_ptr<SecretText>> hashes;

  static PrivilegedHashes read(const HostOptions& options, FaultLog& faults,
                               std::string_view userName);
};

/// The records of /etc/userdb, read whole: a machine has few of them. One that is there and can't
/// be used (readPolicyFile, parseUserRecord) is no missing one: it may say that an account is a
/// mobile one, or locked.
class UserRecords {
 public:
  UserRecords() = default;
  UserRecords(const HostOptions& options, FaultLog& faults);

  /// There are none, nor any that can't be read.
  bool isEmpty() const { return mRecords.empty() && mUnreadable.empty() && mFolderFault.empty(); }
  const std::vector<std::shared_ptr<const UserRecord>>& all() const { return mRecords; }

  /// nullptr when there is none.
  std::shared_ptr<const UserRecord> named(std::string_view userName) const;

  /// Why the account's record, or the whole folder, can't be read, "PATH: REASON"; nullptr when it
  /// can.
  const std::string* faultOf(std::string_view userName) const;

  /// The same for all that can't be read, by login name.
  const std::map<std::string, std::string, std::less<>>& unreadable() const { return mUnreadable; }

  /// The same for the folder: empty when it can be read to its end.
  const std::string& folderFault() const { return mFolderFault; }

 private:
  static std::string pathOf(std::string_view userName);
  static std::shared_ptr<const UserRecord> read(const HostOptions& options,
                                                std::string_view userName, std::string& fault);

  std::vector<std::shared_ptr<const UserRecord>> mRecords;  ///< by name
  std::map<std::string, std::string, std::less<>> mUnreadable;
  std::string mFolderFault;
};

}  // namespace gatehall
