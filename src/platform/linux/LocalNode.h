#pragma once

#include <memory>

#include "platform/DirectoryService.h"
#include "platform/linux/LocalContext.h"

namespace gatehall {

/// The node of the machine's own accounts and groups.
class LocalNode final : public DirectoryNode {
 public:
  explicit LocalNode(std::shared_ptr<LocalHost> host) : mHost(std::move(host)) {}

  std::optional<std::string> nodeName() override;
  std::optional<Strings> subnodeNames() override;
  std::optional<Strings> unreachableSubnodeNames() override;
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override;
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override;

 private:
  std::shared_ptr<LocalHost> mHost;
};

}  // namespace gatehall
