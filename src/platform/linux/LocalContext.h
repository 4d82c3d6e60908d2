#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/linux/FaultLog.h"
#include "platform/linux/HostOptions.h"
#include "platform/linux/LocalSettings.h"
#include "platform/linux/LoginShells.h"
#include "platform/linux/MachineGUIDs.h"
#include "platform/linux/Passwd.h"
#include "platform/linux/PasswdLines.h"
#include "platform/linux/SessionLimits.h"
#include "platform/linux/UserRecord.h"

namespace gatehall {

/// The local node's full name.
inline constexpr std::string_view kLocalNodeName = "local";

/// What all records of the local node need, for as long as the process runs. From any thread.
struct LocalHost {
  LocalHost(HostOptions hostOptions, Log& log, Clock& hostClock)
      : options(std::move(hostOptions)),
        clock(hostClock),
        faults(log),
        guids(options, faults),
        passwdLines(options, faults, clock),
        sessionLimits(options, faults) {}

  const HostOptions options;
  Clock& clock;
  FaultLog faults;
  MachineGUIDs guids;
  PasswdLines passwdLines;
  SessionLimits sessionLimits;
};

/// The small files around the account files, each read when it is first needed and no more than
/// once. The records of one query share a context, so that each query sees the present state. From
/// any thread.
class LocalContext {
 public:
  explicit LocalContext(std::shared_ptr<LocalHost> host) : mHost(std::move(host)) {}

  LocalHost& host() const { return *mHost; }
  const std::shared_ptr<LocalHost>& sharedHost() const { return mHost; }

  const LoginShells& shells();
  const UserRecords& userRecords();
  const LocalSettings& settings();

  /// The record that adds to a line of /etc/passwd: the one of its name, unless that is another
  /// account's by its user id. nullptr when there is none.
  std::shared_ptr<const UserRecord> userRecordFor(const PasswdEntry& entry);

 private:
  template <class File>
  struct Once {
    std::once_flag isRead;
    std::optional<File> file;
  };

  std::shared_ptr<LocalHost> mHost;
  Once<LoginShells> mShells;
  Once<UserRecords> mUserRecords;
  Once<LocalSettings> mSettings;
};

}  // namespace gatehall
