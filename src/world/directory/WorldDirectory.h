#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "world/directory/DirectoryState.h"
#include "world/directory/Members.h"
#include "world/directory/WorldNode.h"

namespace gatehall {

/// The directory of a world: nodes with records, one of them local, and a search node over some of
/// them. A new one is available and has no nodes. From any thread.
class WorldDirectory final : public DirectoryService {
 public:
  WorldDirectory();
  ~WorldDirectory() override;

  std::shared_ptr<DirectorySession> defaultSession() override;

  /// Whether there is a directory service at all. Without one, nodes opened before answer absent.
  void setAvailable(bool available);

  /// Which node is the local one; nullopt: none can be opened.
  void setLocalNode(std::optional<std::string> name);

  /// The name of the local node, whether it can be opened or not.
  std::optional<std::string> localNodeName();

  /// The search node, and the names of the nodes it covers in their order, of which some may not
  /// exist. Raises std::invalid_argument when a node has its name.
  void setSearchNode(std::string_view name, Strings covers);

  /// From now on, whether the search node asks nobody for accounts and groups that the first two
  /// nodes have: of accounts by id, name or GUID, of groups by GUID. Raises std::out_of_range when
  /// there is no search node.
  void setLocalFirst(bool localFirst);
  bool isLocalFirst();

  /// How the network directory of that name is set up.
  void setSetup(std::string_view node, NodeSetup setup);
  /// Absent when nothing is known of it.
  std::optional<NodeSetup> setup(std::string_view node);

  /// Where it is told that a directory is away, for as long as the directory is used.
  void setLog(Log& log);

  /// From now on the search node can't be opened.
  void removeSearchNode();

  /// Which nodes can't be reached from now on; every other one can.
  void setUnreachable(Strings nodes);

  /// Whether the node can be reached. One that can't is not opened and contributes no record.
  void setReachable(std::string_view node, bool reachable);

  /// Whether the node has no records, or doesn't exist, and is not one of those that can't be
  /// reached.
  bool isEmpty(std::string_view node);

  /// A new node, reachable. Raises std::invalid_argument when the name is taken or empty.
  std::shared_ptr<WorldNode> addNode(std::string_view name);

  /// The node, to change what is in it. Raises std::out_of_range when there is none.
  std::shared_ptr<WorldNode> node(std::string_view name);

  /// The GUID of the account with that user id; absent when there is no such account or it has
  /// none. The first one counts.
  std::optional<std::string> guidOfUser(std::uint32_t userID);

  /// A short name of the account with that user id; absent when there is no such account. The first
  /// one counts.
  std::optional<std::string> nameOfUser(std::uint32_t userID);

  /// Whether the group of that GUID holds the account whose attribute has that value, at any depth.
  bool groupHoldsUser(std::string_view groupGUID, std::string_view kind, std::string_view value);

 private:
  std::optional<std::string> firstValueOfUser(std::uint32_t userID, std::string_view kind);

  const std::shared_ptr<DirectoryState> mState;
};

}  // namespace gatehall
