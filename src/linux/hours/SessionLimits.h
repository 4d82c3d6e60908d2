#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>

#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/hours/LoginHours.h"

namespace gatehall {

class SystemBus;

/// The limits on sessions that AccountsService holds for malcontent (its extension
/// com.endlessm.ParentalControls.SessionLimits), of the people whose accounts it lists. Asks nobody
/// where the extension is not installed. Whom polkit does not admit to
/// com.endlessm.ParentalControls.SessionLimits.ReadAny sees but the limit of its own account.
///
/// A question takes no longer than one call may; after one that waited so long in vain, none is
/// asked for a moment. From any thread.
class SessionLimits {
 public:
  SessionLimits(HostOptions options, FaultLog& faults);

  /// Whether there is anyone to ask.
  bool areOffered() const;

  /// Those of the users for whom a limit is held, as far as this process may see it. A service that
  /// does not tell has none; the log says so.
  std::unordered_set<std::uint32_t> limited(const std::unordered_set<std::uint32_t>& userIDs);

  /// When the user may be logged in; absent: there is no limit. A limit that can't be read, or of a
  /// type that is not known here, leaves no hours, and the log says so. Raises PlatformException
  /// when the service does not tell.
  std::optional<LoginHours> hours(std::uint32_t userID);

 private:
  using SteadyClock = std::chrono::steady_clock;

  std::optional<LoginHours> askHours(SystemBus& bus, std::uint32_t userID);
  void ask(const std::function<void(SystemBus&)>& question);

  const HostOptions mOptions;
  FaultLog& mFaults;
  std::mutex mMutex;  ///< guards what follows
  SteadyClock::time_point mAskAgain;
  std::string mFailure;
};

}  // namespace gatehall
