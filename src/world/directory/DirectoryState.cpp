#include "world/directory/DirectoryState.h"

#include <algorithm>

namespace gatehall {

bool DirectoryState::isSearchNode(std::string_view name) const {
  return searchNode && searchNode->name == name;
}

bool DirectoryState::isReachable(std::string_view name) const {
  return available && std::ranges::find(unreachable, name) == unreachable.end();
}

RecordTable* DirectoryState::find(std::string_view name) const {
  const auto found = std::ranges::find(
      mNodes, name, [](const auto& node) -> std::string_view { return node->nodeName(); });
  return found == mNodes.end() ? nullptr : found->get();
}

RecordTable& DirectoryState::add(std::string_view name) {
  return *mNodes.emplace_back(std::make_unique<RecordTable>(std::string(name)));
}

std::optional<std::vector<RecordTable*>> DirectoryState::tablesBehind(std::string_view name) const {
  if (!isReachable(name)) return std::nullopt;
  if (!isSearchNode(name)) {
    auto* table = find(name);
    return table == nullptr ? std::nullopt : std::optional(std::vector{table});
  }
  std::vector<RecordTable*> tables;
  for (const auto& covered : searchNode->covers) {
    auto* table = isReachable(covered) ? find(covered) : nullptr;
    if (table != nullptr && std::ranges::find(tables, table) == tables.end()) {
      tables.push_back(table);
    }
  }
  return tables;
}

std::vector<RecordTable*> DirectoryState::lookupTables() const {
  if (searchNode) return tablesBehind(searchNode->name).value_or(std::vector<RecordTable*>());
  std::vector<RecordTable*> tables;
  for (const auto& node : mNodes) {
    if (isReachable(node->nodeName())) tables.push_back(node.get());
  }
  return tables;
}

std::string_view DirectoryState::kept(std::string_view text) {
  const auto present = mTexts.find(text);
  return present != mTexts.end() ? *present : *mTexts.emplace(text).first;
}

}  // namespace gatehall
