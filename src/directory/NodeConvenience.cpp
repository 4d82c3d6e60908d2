#include "gatehall/directory/NodeConvenience.h"

#include "gatehall/platform/Platform.h"

namespace gatehall {

std::shared_ptr<DirectoryNode> searchNode() {
  const auto session = platform().directory().defaultSession();
  return session ? session->nodeByType(NodeType::Search) : nullptr;
}

std::shared_ptr<DirectoryNode> localNode() {
  const auto session = platform().directory().defaultSession();
  return session ? session->nodeByType(NodeType::Local) : nullptr;
}

std::shared_ptr<DirectoryNode> nodeWithName(std::string_view name) {
  const auto session = platform().directory().defaultSession();
  return session ? session->nodeByName(name) : nullptr;
}

}  // namespace gatehall
