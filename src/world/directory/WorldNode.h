#pragma once

#include <memory>
#include <string>

#include "gatehall/platform/DirectoryService.h"
#include "world/directory/DirectoryState.h"
#include "world/directory/WorldRecord.h"

namespace gatehall {

/// A node of a world, or its search node. One that was opened and can't be reached any more answers
/// absent to every question but its name. From any thread.
class WorldNode final : public DirectoryNode {
 public:
  WorldNode(std::shared_ptr<DirectoryState> state, std::string name);

  std::optional<std::string> nodeName() override;
  std::optional<Strings> subnodeNames() override;
  std::optional<Strings> unreachableSubnodeNames() override;
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override;
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override;

  // What happens to the node from outside, whether it can be reached or not. Raises
  // std::out_of_range on the search node, which has no records of its own.

  /// Adds a record at the end.
  std::shared_ptr<WorldRecord> addRecord(RecordDescription description);

  /// The first record of the type that goes by the name. Raises std::out_of_range when there is
  /// none.
  std::shared_ptr<WorldRecord> record(std::string_view type, std::string_view name);

 private:
  RecordTable& table() const;

  const std::shared_ptr<DirectoryState> mState;
  const std::string mName;
};

}  // namespace gatehall
