#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "ctl/export/RecordEntry.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// What the network's directories are asked for: by whom a setting, a group or a session names.
struct Seeds {
  std::set<std::string> guids{};  ///< of accounts and groups, in lower case
  std::set<std::string> names{};  ///< login names
  std::set<std::string> groupNames{};
  std::set<std::string> userIDs{};

  /// Takes in whom the group lists.
  void addMembersOf(DirectoryRecord& group);

  void addGUIDs(const Strings& spelled);
};

/// The records of a directory in its own order.
struct NodeRecords {
  std::shared_ptr<DirectoryNode> node;
  Records users{};
  Records groups{};
};

/// Every account and group of the node. What can't be had is noted as a fault, and is missing.
void fetchAll(NodeRecords& place, Gathered& gathered);

/// Those that the seeds lead to in any of the network's nodes: groups lead to their members, nested
/// ones too, accounts to their primary group. The machine's own groups, which are there as a whole,
/// may stand anywhere on the way.
void fetchReached(std::vector<NodeRecords>& network, const std::vector<NodeRecords>& own,
                  Seeds seeds, Gathered& gathered);

}  // namespace gatehall::ctl
