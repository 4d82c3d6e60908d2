#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "gatehall/platform/Log.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// What the machine's own files, and behind them its name service, say about a login name.
struct AccountAtDoor {
  std::string userName;                   ///< as the name service spells it
  std::optional<std::uint32_t> userID{};  ///< absent: nobody has the name

  /// Whether it is a local account that looks after the machine: of user id 0, or made an
  /// administrator by the group file: named in a line of the groups that Settings::adminGroups
  /// names, or of such a primary group. Where the configuration can't be read, the groups are those
  /// of a machine without one.
  bool isLocalAdministrator = false;
};

/// Reads the lines that can be read, whatever the others hold. The name service, getpwnam(3), is
/// asked by a host that is the machine itself, and takes the time that it takes; where it has
/// another account of a local one's name, which is then the one to be let in, that is the answer.
/// From one thread. Raises nothing; what can't be read is logged, and not there.
AccountAtDoor accountAtDoor(const HostOptions& options, Log& log, const std::string& loginName);

}  // namespace gatehall
