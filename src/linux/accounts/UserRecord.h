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

/// The records of /etc/userdb, read whole: a machine has few of them.
class UserRecords {
 public:
  UserRecords() = default;
  UserRecords(const HostOptions& options, FaultLog& faults);

  bool isEmpty() const { return mRecords.empty(); }
  const std::vector<std::shared_ptr<const UserRecord>>& all() const { return mRecords; }

  /// nullptr when there is none.
  std::shared_ptr<const UserRecord> named(std::string_view userName) const;

 private:
  std::vector<std::shared_ptr<const UserRecord>> mRecords;  ///< by name
};

}  // namespace gatehall
