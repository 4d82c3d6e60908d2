#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "linux/ldap/Directory.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

/// The node of a network directory, "ldap/NAME".
class Node final : public NetworkNode {
 public:
  explicit Node(std::shared_ptr<Directory> directory) : mDirectory(std::move(directory)) {}

  std::optional<std::string> whyUnreachable() override { return mDirectory->whyUnreachable(); }
  bool isIgnoredWhenAway() const override {
    return mDirectory->settings().whenAway == Settings::WhenAway::Ignore;
  }
  std::string tls() const override;
  Reached reach() override { return mDirectory->reach(); }
  std::vector<LeftOut> leftOut(std::string_view kind, const std::string& value) override;
  void forgetFetched() override { mDirectory->cache().drop(); }

  std::optional<std::string> nodeName() override { return mDirectory->nodeName(); }
  std::optional<Strings> subnodeNames() override { return std::nullopt; }
  std::optional<Strings> unreachableSubnodeNames() override { return std::nullopt; }
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override;
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override;

 private:
  const std::shared_ptr<Directory> mDirectory;
};

}  // namespace gatehall::ldap
