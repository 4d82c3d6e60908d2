#pragma once

#include <string>

#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// A node without records.
class EmptyNode final : public DirectoryNode {
 public:
  explicit EmptyNode(std::string name) : mName(std::move(name)) {}

  std::optional<std::string> nodeName() override;
  std::optional<Strings> subnodeNames() override;
  std::optional<Strings> unreachableSubnodeNames() override;
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override;
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override;

 private:
  std::string mName;
};

}  // namespace gatehall
