#include "linux/directory/SearchNode.h"

#include <algorithm>
#include <future>
#include <iterator>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "portable/StillToAsk.h"

namespace gatehall {

namespace {

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;
using NetworkNodes = std::vector<std::shared_ptr<NetworkNode>>;

/// Asks every network node at once, or a single one when its answer is wanted; the answers come in
/// the nodes' order.
template <class Ask>
auto askAtOnce(const NetworkNodes& nodes, Ask ask) {
  using Answer = decltype(ask(*nodes.front()));
  std::vector<std::future<Answer>> answers;
  // With a single one, a thread costs more than it saves.
  const auto how = nodes.size() > 1 ? std::launch::async : std::launch::deferred;
  for (const auto& node : nodes) {
    const auto askNode = [ask, node] { return ask(*node); };
    try {
      answers.push_back(std::async(how, askNode));
    } catch (const std::system_error&) {  // no more threads
      answers.push_back(std::async(std::launch::deferred, askNode));
    }
  }
  return answers;
}

enum class WhenAway { Raise, Ignore };

/// What the node answers; a default answer for one that is away and may be.
template <class Ask>
auto askIfThere(NetworkNode& node, WhenAway whenAway, Log& log, Ask ask) -> decltype(ask()) {
  try {
    if (const auto why = node.whyUnreachable()) throw DirectoryUnreachable(*why);
    return ask();
  } catch (const DirectoryUnreachable& failure) {
    const bool isIgnored = node.isIgnoredWhenAway();
    if (isIgnored) log.diagnostic(std::string(failure.what()) + "; its entries count as absent");
    if (!isIgnored && whenAway == WhenAway::Raise) throw;
    return {};
  }
}

/// The query put to every node, to those of the network side by side.
class SearchQuery final : public DirectoryQuery {
 public:
  SearchQuery(std::vector<std::shared_ptr<DirectoryNode>> localNodes, NetworkNodes networkNodes,
              Log& log, QueryDescription description)
      : mLocalNodes(std::move(localNodes)),
        mNetworkNodes(std::move(networkNodes)),
        mLog(log),
        mDescription(std::move(description)) {}

  std::optional<Records> results(bool allowPartial) override {
    Records records;
    const auto add = [&](Records found) { std::ranges::move(found, std::back_inserter(records)); };
    for (const auto& node : mLocalNodes) add(resultsOf(*node, mDescription, allowPartial));
    const auto limit = mDescription.maximumResults;
    const auto open = mNetworkNodes.empty() || (limit != 0 && records.size() >= limit)
                          ? std::nullopt
                          : stillToAsk(mDescription, records);
    if (open) {
      const auto whenAway = allowPartial ? WhenAway::Ignore : WhenAway::Raise;
      for (auto& answer : askAtOnce(mNetworkNodes, [&](NetworkNode& node) {
             return askIfThere(node, whenAway, mLog,
                               [&] { return resultsOf(node, *open, allowPartial); });
           })) {
        add(answer.get());
      }
    }
    if (limit != 0 && records.size() > limit) records.resize(limit);
    return records;
  }

 private:
  static Records resultsOf(DirectoryNode& node, const QueryDescription& description,
                           bool allowPartial) {
    try {
      const auto query = node.query(description);
      auto found = query ? query->results(allowPartial) : std::nullopt;
      if (!found) throw PlatformException(node.nodeName().value_or("a node") + " does not answer");
      return std::move(*found);
    } catch (const DirectoryUnreachable&) {
      throw;
    } catch (const PlatformException&) {
      if (!allowPartial) throw;
      return {};
    }
  }

  const std::vector<std::shared_ptr<DirectoryNode>> mLocalNodes;
  const NetworkNodes mNetworkNodes;
  Log& mLog;
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
  auto answers =
      askAtOnce(mNetworkNodes, [](NetworkNode& node) { return node.whyUnreachable().has_value(); });
  Strings names;
  for (std::size_t index = 0; index < answers.size(); ++index) {
    if (answers[index].get()) names.push_back(mNetworkNodes[index]->nodeName().value_or(""));
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
  for (auto& answer : askAtOnce(mNetworkNodes, [&](NetworkNode& node) {
         return askIfThere(node, WhenAway::Raise, mLog,
                           [&] { return node.recordByTypeAndName(type, name, attributes); });
       })) {
    auto found = answer.get();
    if (!first) first = std::move(found);
  }
  return first;
}

std::shared_ptr<DirectoryQuery> SearchNode::query(QueryDescription description) {
  return std::make_shared<SearchQuery>(mLocalNodes, mNetworkNodes, mLog, std::move(description));
}

}  // namespace gatehall
