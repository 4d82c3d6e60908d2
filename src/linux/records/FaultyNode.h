#pragma once

#include <string>

#include "linux/records/NetworkNode.h"

namespace gatehall {

/// Stands in the place of a network directory that the settings describe in a way that nobody can
/// use: it can't be asked, and says why.
class FaultyNode final : public NetworkNode {
 public:
  FaultyNode(std::string name, std::string fault)
      : mName(std::move(name)), mFault(std::move(fault)) {}

  std::optional<std::string> whyUnreachable() override { return mFault; }
  Reached reach() override { fail(); }

  std::optional<std::string> nodeName() override { return mName; }
  std::optional<Strings> subnodeNames() override { return std::nullopt; }
  std::optional<Strings> unreachableSubnodeNames() override { return std::nullopt; }
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view, std::string_view,
                                                       const Strings&) override {
    fail();
  }
  std::shared_ptr<DirectoryQuery> query(QueryDescription) override { fail(); }

 private:
  [[noreturn]] void fail() const { throw DirectoryUnreachable(mFault); }

  const std::string mName;
  const std::string mFault;
};

}  // namespace gatehall
