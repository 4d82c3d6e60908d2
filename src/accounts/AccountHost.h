#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "gatehall/access/UserAccess.h"
#include "instrumented/RecordingLog.h"
#include "linux/files/HostOptions.h"
#include "linux/records/NetworkNode.h"

namespace gatehall {

/// The host whose accounts are asked about: the installed platform's, and what that doesn't tell of
/// itself.
struct AccountHost {
  /// Where the machine's files stand; nullptr in a world.
  const HostOptions* machine = nullptr;

  /// The file of a world.
  std::string worldFile{};

  /// The machine's nodes of network directories, in their order; none in a world.
  std::function<std::vector<std::shared_ptr<NetworkNode>>()> networkNodes{};

  /// Whether this process is told about everybody's login hours without being root's.
  bool seesLoginHours = false;

  /// Who decides. May raise PlatformException.
  std::function<std::shared_ptr<UserAccess>()> access = &UserAccess::sharedUserAccess;

  /// What the host logs, where it can be read again; else nullptr.
  const RecordingLog* logged = nullptr;
};

inline std::vector<std::shared_ptr<NetworkNode>> networkNodes(const AccountHost& host) {
  return host.networkNodes ? host.networkNodes() : std::vector<std::shared_ptr<NetworkNode>>();
}

}  // namespace gatehall
