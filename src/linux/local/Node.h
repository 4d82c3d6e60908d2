#pragma once

#include <memory>

#include "gatehall/platform/DirectoryService.h"
#include "linux/local/Context.h"

namespace gatehall::local {

/// The node of the machine's own accounts and groups.
class Node final : public DirectoryNode {
 public:
  explicit Node(std::shared_ptr<Host> host) : mHost(std::move(host)) {}

  std::optional<std::string> nodeName() override;
  std::optional<Strings> subnodeNames() override;
  std::optional<Strings> unreachableSubnodeNames() override;
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override;
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override;

 private:
  std::shared_ptr<Host> mHost;
};

}  // namespace gatehall::local
