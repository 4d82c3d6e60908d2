#include "world/directory/DirectoryState.h"

#include <algorithm>
#include <set>

#include "gatehall/base/PlatformException.h"

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
  return coveredTables(0, searchNode->covers.size());
}

std::vector<RecordTable*> DirectoryState::coveredTables(std::size_t first, std::size_t end) const {
  std::vector<RecordTable*> tables;
  std::set<const RecordTable*> seen;  // a node may be covered twice
  for (std::size_t place = 0; place < std::min(end, searchNode->covers.size()); ++place) {
    const auto& covered = searchNode->covers[place];
    auto* table = isReachable(covered) ? find(covered) : nullptr;
    if (table != nullptr && seen.insert(table).second && place >= first) tables.push_back(table);
  }
  return tables;
}

void DirectoryState::tellOfAway(bool allowPartial) const {
  using WhenAway = NodeSetup::WhenAway;
  for (const auto& covered : searchNode->covers) {
    const auto found = setups.find(covered);
    if (isReachable(covered) || found == setups.end()) continue;
    const auto& setup = found->second;
    const auto why = setup.away.value_or(covered + " can't be reached");
    if (setup.whenAway == WhenAway::Refuse && !allowPartial) throw PlatformException(why);
    if (setup.whenAway == WhenAway::Ignore && log != nullptr) {
      log->diagnostic(why + "; its entries count as absent");
    }
  }
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
