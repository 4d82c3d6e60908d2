#include "platform/linux/SearchNode.h"

#include "platform/PlatformException.h"

namespace gatehall {

namespace {

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

/// The query put to every node in turn.
class SearchQuery final : public DirectoryQuery {
 public:
  SearchQuery(std::vector<std::shared_ptr<DirectoryNode>> nodes, QueryDescription description)
      : mNodes(std::move(nodes)), mDescription(std::move(description)) {}

  std::optional<Records> results(bool allowPartial) override {
    Records records;
    const auto limit = mDescription.maximumResults;
    for (const auto& node : mNodes) {
      auto description = mDescription;
      if (limit != 0) {
        if (records.size() >= limit) break;
        description.maximumResults = limit - static_cast<std::uint32_t>(records.size());
      }
      const auto found = resultsOf(*node, std::move(description), allowPartial);
      if (found) {
        records.insert(records.end(), found->begin(), found->end());
      } else if (!allowPartial) {
        return std::nullopt;
      }
    }
    return records;
  }

 private:
  static std::optional<Records> resultsOf(DirectoryNode& node, QueryDescription description,
                                          bool allowPartial) {
    try {
      const auto query = node.query(std::move(description));
      if (!query) return std::nullopt;
      return query->results(allowPartial);
    } catch (const PlatformException&) {
      if (!allowPartial) throw;
      return std::nullopt;
    }
  }

  std::vector<std::shared_ptr<DirectoryNode>> mNodes;
  QueryDescription mDescription;
};

}  // namespace

std::optional<std::string> SearchNode::nodeName() { return std::string(kSearchNodeName); }

std::optional<Strings> SearchNode::subnodeNames() {
  Strings names;
  for (const auto& node : mLocalNodes) names.push_back(node->nodeName().value_or(""));
  for (const auto& node : mNetworkNodes) names.push_back(node->nodeName().value_or(""));
  return names;
}

std::optional<Strings> SearchNode::unreachableSubnodeNames() {
  Strings names;
  for (const auto& node : mNetworkNodes) {
    if (!node->isReachable()) names.push_back(node->nodeName().value_or(""));
  }
  return names;
}

std::vector<std::shared_ptr<DirectoryNode>> SearchNode::reachableNodes() const {
  auto nodes = mLocalNodes;
  for (const auto& node : mNetworkNodes) {
    if (node->isReachable()) nodes.push_back(node);
  }
  return nodes;
}

std::shared_ptr<DirectoryRecord> SearchNode::recordByTypeAndName(std::string_view type,
                                                                 std::string_view name,
                                                                 const Strings& attributes) {
  for (const auto& node : reachableNodes()) {
    if (auto found = node->recordByTypeAndName(type, name, attributes)) return found;
  }
  return nullptr;
}

std::shared_ptr<DirectoryQuery> SearchNode::query(QueryDescription description) {
  return std::make_shared<SearchQuery>(reachableNodes(), std::move(description));
}

}  // namespace gatehall
