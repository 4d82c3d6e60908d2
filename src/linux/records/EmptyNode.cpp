#include "linux/records/EmptyNode.h"

#include <vector>

namespace gatehall {

namespace {

class EmptyQuery final : public DirectoryQuery {
 public:
  std::optional<std::vector<std::shared_ptr<DirectoryRecord>>> results(bool) override {
    return std::vector<std::shared_ptr<DirectoryRecord>>();
  }
};

}  // namespace

std::optional<std::string> EmptyNode::nodeName() { return mName; }

std::optional<Strings> EmptyNode::subnodeNames() { return std::nullopt; }

std::optional<Strings> EmptyNode::unreachableSubnodeNames() { return std::nullopt; }

std::shared_ptr<DirectoryRecord> EmptyNode::recordByTypeAndName(std::string_view, std::string_view,
                                                                const Strings&) {
  return nullptr;
}

std::shared_ptr<DirectoryQuery> EmptyNode::query(QueryDescription) {
  return std::make_shared<EmptyQuery>();
}

}  // namespace gatehall
