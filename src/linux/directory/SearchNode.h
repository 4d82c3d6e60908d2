#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "gatehall/platform/Log.h"
#include "linux/records/NetworkNode.h"

namespace gatehall {

inline constexpr std::string_view kSearchNodeName = "search";

/// The node that covers all others: the two local ones, then the network's, which are asked side by
/// side. From any thread. The log has to outlive it.
///
/// A local account is the answer for its id, name and GUID, as a local group is for its GUID: no
/// directory is asked for these. For all else a directory that can't be asked in full fails the
/// question, unless partial results will do; PlatformException names it and says why. One that is
/// to be ignored when it is away has no records then, and the log says so.
class SearchNode final : public DirectoryNode {
 public:
  SearchNode(std::vector<std::shared_ptr<DirectoryNode>> localNodes,
             std::vector<std::shared_ptr<NetworkNode>> networkNodes, Log& log)
      : mLocalNodes(std::move(localNodes)), mNetworkNodes(std::move(networkNodes)), mLog(log) {}

  std::optional<std::string> nodeName() override;
  std::optional<Strings> subnodeNames() override;
  std::optional<Strings> unreachableSubnodeNames() override;
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override;
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override;

 private:
  const std::vector<std::shared_ptr<DirectoryNode>> mLocalNodes;
  const std::vector<std::shared_ptr<NetworkNode>> mNetworkNodes;
  Log& mLog;
};

}  // namespace gatehall
