#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "gatehall/platform/Clock.h"
#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "linux/accounts/MachineGUIDs.h"
#include "linux/accounts/Passwd.h"
#include "linux/accounts/PasswdLines.h"
#include "linux/accounts/UserRecord.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/hours/SessionLimits.h"
#include "linux/local/OwnAccounts.h"
#include "linux/local/Settings.h"
#include "linux/records/LoginShells.h"

namespace gatehall::local {

/// The local node's full name.
inline constexpr std::string_view kLocalNodeName = "local";

/// What all records of the local node need, for as long as the process runs. From any thread.
struct Host {
  Host(HostOptions hostOptions, Log& log, Clock& hostClock)
      : options(std::move(hostOptions)),
        clock(hostClock),
        faults(log),
        guids(options, faults),
        passwdLines(options, faults, clock),
        ownAccounts(options, faults, guids, passwdLines),
        sessionLimits(options, faults) {}

  const HostOptions options;
  Clock& clock;
  FaultLog faults;
  MachineGUIDs guids;
  PasswdLines passwdLines;
  OwnAccounts ownAccounts;
  SessionLimits sessionLimits;

  /// The users of all nodes whose primary group has one of the ids; without network nodes, none is
  /// set. It is set before the host is used, and may raise PlatformException.
  std::function<std::vector<std::shared_ptr<DirectoryRecord>>(const Strings& groupIDs)>
      usersOfPrimaryGroups;
};

/// The small files around the account files, each read when it is first needed and no more than
/// once. The records of one query share a context, so that each query sees the present state. From
/// any thread.
class Context {
 public:
  explicit Context(std::shared_ptr<Host> host) : mHost(std::move(host)) {}

  Host& host() const { return *mHost; }
  const std::shared_ptr<Host>& sharedHost() const { return mHost; }

  const LoginShells& shells();
  const UserRecords& userRecords();
  const Settings& settings();

  /// The record that adds to a line of /etc/passwd, the one of its name; nullptr when there is
  /// none. With a fault, "PATH: REASON", it can't be used: it can't be read, or its user id is not
  /// the line's.
  std::shared_ptr<const UserRecord> userRecordFor(const PasswdEntry& entry, std::string& fault);

  /// The same; raises PlatformException when it can't be used, but for that of an account
  /// which the group file makes an administrator: no file must shut those out.
  std::shared_ptr<const UserRecord> userRecordFor(const PasswdEntry& entry);

  /// Raises PlatformException when a record that can't be read, but for those of the given names,
  /// is not an administrator's.
  void requireReadableRecords(const std::unordered_set<std::string_view>& but = {});

  /// Whether the group file makes an account of that name and primary group an administrator. May
  /// raise PlatformException.
  bool isAdministrator(std::string_view loginName, std::optional<std::uint32_t> groupID) const;

 private:
  template <class File>
  struct Once {
    std::mutex mutex;  ///< no std::once_flag: reading may raise, and is tried again then
    std::optional<File> file;
  };

  std::shared_ptr<Host> mHost;
  Once<LoginShells> mShells;
  Once<UserRecords> mUserRecords;
  Once<Settings> mSettings;
};

}  // namespace gatehall::local
