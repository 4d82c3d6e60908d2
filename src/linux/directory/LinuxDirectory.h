#pragma once

#include <memory>
#include <vector>

#include "gatehall/platform/Clock.h"
#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "linux/files/HostOptions.h"
#include "linux/records/NetworkNode.h"

namespace gatehall {

/// The directory of a Linux machine: node "local" of its own accounts, node "unix", which is empty
/// and keeps the search path's second place, the network's nodes, and node "search" over them all.
/// The log and the clock have to outlive the directory and its records.
class LinuxDirectory final : public DirectoryService {
 public:
  /// With the network nodes that /etc/gatehall/directory.toml describes. May raise
  /// PlatformException.
  LinuxDirectory(HostOptions options, Log& log, Clock& clock);

  /// With other ones.
  LinuxDirectory(HostOptions options, Log& log, Clock& clock,
                 std::vector<std::shared_ptr<NetworkNode>> networkNodes);

  std::shared_ptr<DirectorySession> defaultSession() override;

  /// The network's nodes, in their order.
  const std::vector<std::shared_ptr<NetworkNode>>& networkNodes() const { return mNetworkNodes; }

  /// Has the network's nodes forget what they fetched a moment ago: the directory changed.
  void forgetFetched();

 private:
  std::vector<std::shared_ptr<NetworkNode>> mNetworkNodes;
  std::shared_ptr<DirectorySession> mSession;
};

}  // namespace gatehall
