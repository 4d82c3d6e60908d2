#include "linux/directory/SearchNode.h"

#include <algorithm>
#include <future>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

/// Asks every network node at once, or a single one when its answer is wanted; the answers come in
/// the nodes' order. Who can't be reached, or finds that out when asked, answers nothing.
template <class Ask>
auto askAtOnce(const std::vector<std::shared_ptr<NetworkNode>>& nodes, Ask ask) {
  using Answer = decltype(ask(*nodes.front()));
  std::vector<std::future<Answer>> answers;
  // With a single one, a thread costs more than it saves.
  const auto how = nodes.size() > 1 ? std::launch::async : std::launch::deferred;
  for (const auto& node : nodes) {
    const auto askNode = [ask, node]() -> Answer {
      try {
        return node->isReachable() ? ask(*node) : Answer();
      } catch (const DirectoryUnreachable&) {
        return Answer();
      }
    };
    try {
      answers.push_back(std::async(how, askNode));
    } catch (const std::system_error&) {  // no more threads
      answers.push_back(std::async(std::launch::deferred, askNode));
    }
  }
  return answers;
}

/// Whether all that could be found are accounts of this machine, by the GUIDs that it makes for
/// them: asking servers for each of many would take a round trip a time.
bool canOnlyBeLocal(const QueryDescription& description, local::Host& host) {
  const bool isByGUID = attribute::canonical(description.attribute) == attribute::GUID &&
                        (description.match == MatchType::EqualTo ||
                         description.match == MatchType::EqualToIgnoringCase);
  const auto isOfThisMachine = [&](const std::string& value) {
    const auto guid = parseUUID(value);
    if (!guid || !isNameBased(*guid)) return false;
    if (host.guids.rememberedUserID(*guid)) return true;
    const auto lines = host.passwdLines.current();
    return lines && lines->userIDOf(*guid, host.guids).has_value();
  };
  const auto& types = description.recordTypes;
  if (!isByGUID || std::ranges::find(types, record::Users) == types.end()) return false;
  try {
    return std::ranges::all_of(description.values, isOfThisMachine);
  } catch (const PlatformException&) {  // the local node says what is wrong
    return false;
  }
}

/// The query put to every node, to those of the network side by side.
class SearchQuery final : public DirectoryQuery {
 public:
  SearchQuery(std::shared_ptr<local::Host> host,
              std::vector<std::shared_ptr<DirectoryNode>> localNodes,
              std::vector<std::shared_ptr<NetworkNode>> networkNodes, QueryDescription description)
      : mHost(std::move(host)),
        mLocalNodes(std::move(localNodes)),
        mNetworkNodes(std::move(networkNodes)),
        mDescription(std::move(description)) {}

  std::optional<Records> results(bool allowPartial) override {
    const bool isLocal = !mNetworkNodes.empty() && canOnlyBeLocal(mDescription, *mHost);
    const std::vector<std::shared_ptr<NetworkNode>> none;
    auto answers = askAtOnce(isLocal ? none : mNetworkNodes, [this, allowPartial](auto& node) {
      return Found{resultsOf(node, allowPartial)};
    });
    Records records;
    bool isWhole = true;
    const auto add = [&](const std::optional<Records>& found) {
      if (found) records.insert(records.end(), found->begin(), found->end());
      isWhole = isWhole && (found || allowPartial);
    };
    for (const auto& node : mLocalNodes) add(resultsOf(*node, allowPartial));
    for (auto& answer : answers) add(answer.get().records);
    if (!isWhole) return std::nullopt;
    const auto limit = mDescription.maximumResults;
    if (limit != 0 && records.size() > limit) records.resize(limit);
    return records;
  }

 private:
  /// What a node answers; that of a node that isn't there has no records.
  struct Found {
    std::optional<Records> records{std::in_place};
  };

  std::optional<Records> resultsOf(DirectoryNode& node, bool allowPartial) const {
    try {
      const auto query = node.query(mDescription);
      if (!query) return std::nullopt;
      return query->results(allowPartial);
    } catch (const DirectoryUnreachable&) {
      throw;
    } catch (const PlatformException&) {
      if (!allowPartial) throw;
      return std::nullopt;
    }
  }

  const std::shared_ptr<local::Host> mHost;
  const std::vector<std::shared_ptr<DirectoryNode>> mLocalNodes;
  const std::vector<std::shared_ptr<NetworkNode>> mNetworkNodes;
  const QueryDescription mDescription;
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
  auto answers = askAtOnce(mNetworkNodes, [](const NetworkNode&) { return true; });
  Strings names;
  for (std::size_t index = 0; index < answers.size(); ++index) {
    if (!answers[index].get()) names.push_back(mNetworkNodes[index]->nodeName().value_or(""));
  }
  return names;
}

std::shared_ptr<DirectoryRecord> SearchNode::recordByTypeAndName(std::string_view type,
                                                                 std::string_view name,
                                                                 const Strings& attributes) {
  for (const auto& node : mLocalNodes) {
    if (auto found = node->recordByTypeAndName(type, name, attributes)) return found;
  }
  std::shared_ptr<DirectoryRecord> first;
  for (auto& answer : askAtOnce(mNetworkNodes, [&](DirectoryNode& node) {
         return node.recordByTypeAndName(type, name, attributes);
       })) {
    auto found = answer.get();
    if (!first) first = std::move(found);
  }
  return first;
}

std::shared_ptr<DirectoryQuery> SearchNode::query(QueryDescription description) {
  return std::make_shared<SearchQuery>(mHost, mLocalNodes, mNetworkNodes, std::move(description));
}

}  // namespace gatehall
