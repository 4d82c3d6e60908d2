#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "world/directory/RecordTable.h"

namespace gatehall {

/// What a world's directory is made of. Sessions, nodes and records share it, so they stay good
/// whatever happens to the world. Everything in here, and the tables and stored records behind it,
/// is read and written with the mutex held.
class DirectoryState {
 public:
  struct SearchNode {
    std::string name;
    Strings covers;
  };

  std::mutex mutex;
  bool available = true;
  std::optional<std::string> localNode;
  std::optional<SearchNode> searchNode;
  Strings unreachable;  ///< names of nodes

  bool isSearchNode(std::string_view name) const;
  bool isReachable(std::string_view name) const;

  /// The node's records; nullptr when there is no such node. Reachable or not.
  RecordTable* find(std::string_view name) const;

  /// A new, empty node. The name must not be taken.
  RecordTable& add(std::string_view name);

  /// The records that answer when the node of that name is asked: its own, or those of the nodes
  /// that it covers and that can be reached. Absent when the node can't be opened.
  std::optional<std::vector<RecordTable*>> tablesBehind(std::string_view name) const;

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
