#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "linux/local/Context.h"
#include "linux/records/NetworkNode.h"

namespace gatehall {

inline constexpr std::string_view kSearchNodeName = "search";

/// The node that covers all others: the two local ones, then the network's, which are asked side by
/// side. Nodes that can't be reached have no records until they can; one that breaks off in the
/// middle of an answer fails the question. Nobody but the local nodes is asked for users by
/// the GUIDs that this machine makes of user ids.
class SearchNode final : public DirectoryNode {
 public:
  SearchNode(std::shared_ptr<local::Host> host,
             std::vector<std::shared_ptr<DirectoryNode>> localNodes,
             std::vector<std::shared_ptr<NetworkNode>> networkNodes)
      : mHost(std::move(host)),
        mLocalNodes(std::move(localNodes)),
        mNetworkNodes(std::move(networkNodes)) {}

  std::optional<std::string> nodeName() override;
  std::optional<Strings> subnodeNames() override;
  std::optional<Strings> unreachableSubnodeNames() override;
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override;
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override;

 private:
  std::shared_ptr<local::Host> mHost;
  std::vector<std::shared_ptr<DirectoryNode>> mLocalNodes;
  std::vector<std::shared_ptr<NetworkNode>> mNetworkNodes;
};

}  // namespace gatehall
