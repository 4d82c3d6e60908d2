#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/Log.h"
#include "world/directory/RecordTable.h"

namespace gatehall {

/// How a network directory is set up, and what becomes of questions while it can't be reached.
struct NodeSetup {
  enum class WhenAway {
    Absent,  ///< its entries count as absent
    Ignore,  ///< the same, and the log says so
    Refuse,  ///< what can't be answered without it raises
  };

  std::optional<std::string> server;  ///< the one that answers
  std::optional<std::string> tls;     ///< how what is sent to it is protected
  WhenAway whenAway = WhenAway::Absent;
  std::optional<std::string> away;  ///< why it can't be reached
};

/// What a world's directory is made of. Sessions, nodes and records share it, so they stay good
/// whatever happens to the world. Everything in here, and the tables and stored records behind it,
/// is read and written with the mutex held.
class DirectoryState {
 public:
  struct SearchNode {
    std::string name;
    Strings covers;
    /// Whether what the first two nodes answer about an account or a group is not asked of others.
    bool localFirst = false;
  };

  std::mutex mutex;
  bool available = true;
  std::optional<std::string> localNode;
  std::optional<SearchNode> searchNode;
  Strings unreachable;  ///< names of nodes
  std::map<std::string, NodeSetup, std::less<>> setups;
  Log* log = nullptr;  ///< of the world

  bool isSearchNode(std::string_view name) const;
  bool isReachable(std::string_view name) const;

  /// The node's records; nullptr when there is no such node. Reachable or not.
  RecordTable* find(std::string_view name) const;

  /// A new, empty node. The name must not be taken.
  RecordTable& add(std::string_view name);

  /// The records that answer when the node of that name is asked: its own, or those of the nodes
  /// that it covers and that can be reached. Absent when the node can't be opened.
  std::optional<std::vector<RecordTable*>> tablesBehind(std::string_view name) const;

  /// The same of the covered nodes from one place on, or up to it.
  std::vector<RecordTable*> coveredTables(std::size_t first, std::size_t end) const;

  /// Tells of the network's nodes that the search node covers and that can't be reached: raises
  /// PlatformException for one that is not to be missed, unless parts will do.
  void tellOfAway(bool allowPartial) const;

  /// Where accounts are looked up that nobody named a node for: what the search node covers, else
  /// every node that can be reached.
  std::vector<RecordTable*> lookupTables() const;

  /// The same text, good as long as the directory.
  std::string_view kept(std::string_view text);

 private:
  std::vector<std::unique_ptr<RecordTable>> mNodes;
  std::set<std::string, std::less<>> mTexts;
};

}  // namespace gatehall
