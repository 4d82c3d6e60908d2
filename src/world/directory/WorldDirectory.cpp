#include "world/directory/WorldDirectory.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

class WorldSession final : public DirectorySession {
 public:
  explicit WorldSession(std::shared_ptr<DirectoryState> state) : mState(std::move(state)) {}

  std::shared_ptr<DirectoryNode> nodeByType(NodeType type) override {
    const std::scoped_lock lock(mState->mutex);
    if (type == NodeType::Local) {
      return mState->localNode ? open(*mState->localNode) : nullptr;
    }
    return mState->searchNode ? open(mState->searchNode->name) : nullptr;
  }

  std::shared_ptr<DirectoryNode> nodeByName(std::string_view name) override {
    const std::scoped_lock lock(mState->mutex);
    return open(name);
  }

 private:
  std::shared_ptr<DirectoryNode> open(std::string_view name) const {
    if (!mState->tablesBehind(name)) return nullptr;
    return std::make_shared<WorldNode>(mState, std::string(name));
  }

  const std::shared_ptr<DirectoryState> mState;
};

Strings valuesOf(const RecordContents& contents, std::string_view kind) {
  const auto* values = contents.values(kind);
  return values == nullptr ? Strings() : *values;
}

}  // namespace

WorldDirectory::WorldDirectory() : mState(std::make_shared<DirectoryState>()) {}

WorldDirectory::~WorldDirectory() = default;

std::shared_ptr<DirectorySession> WorldDirectory::defaultSession() {
  const std::scoped_lock lock(mState->mutex);
  return mState->available ? std::make_shared<WorldSession>(mState) : nullptr;
}

void WorldDirectory::setAvailable(bool available) {
  const std::scoped_lock lock(mState->mutex);
  mState->available = available;
}

void WorldDirectory::setLocalNode(std::optional<std::string> name) {
  const std::scoped_lock lock(mState->mutex);
  mState->localNode = std::move(name);
}

std::optional<std::string> WorldDirectory::localNodeName() {
  const std::scoped_lock lock(mState->mutex);
  return mState->localNode;
}

void WorldDirectory::setSearchNode(std::string_view name, Strings covers) {
  const std::scoped_lock lock(mState->mutex);
  if (mState->find(name) != nullptr) {
    throw std::invalid_argument("there is a node \"" + std::string(name) + "\"");
  }
  mState->searchNode = {std::string(name), std::move(covers), false};
}

void WorldDirectory::setLocalFirst(bool localFirst) {
  const std::scoped_lock lock(mState->mutex);
  if (!mState->searchNode) throw std::out_of_range("no search node");
  mState->searchNode->localFirst = localFirst;
}

bool WorldDirectory::isLocalFirst() {
  const std::scoped_lock lock(mState->mutex);
  return mState->searchNode && mState->searchNode->localFirst;
}

void WorldDirectory::setSetup(std::string_view node, NodeSetup setup) {
  const std::scoped_lock lock(mState->mutex);
  mState->setups.insert_or_assign(std::string(node), std::move(setup));
}

std::optional<NodeSetup> WorldDirectory::setup(std::string_view node) {
  const std::scoped_lock lock(mState->mutex);
  const auto found = mState->setups.find(node);
  return found == mState->setups.end() ? std::nullopt : std::optional(found->second);
}

void WorldDirectory::setLog(Log& log) {
  const std::scoped_lock lock(mState->mutex);
  mState->log = &log;
}

void WorldDirectory::removeSearchNode() {
  const std::scoped_lock lock(mState->mutex);
  mState->searchNode.reset();
}

void WorldDirectory::setReachable(std::string_view node, bool reachable) {
  const std::scoped_lock lock(mState->mutex);
  std::erase(mState->unreachable, node);
  if (!reachable) mState->unreachable.emplace_back(node);
}

void WorldDirectory::setUnreachable(Strings nodes) {
  const std::scoped_lock lock(mState->mutex);
  mState->unreachable = std::move(nodes);
}

bool WorldDirectory::isEmpty(std::string_view node) {
  const std::scoped_lock lock(mState->mutex);
  if (std::ranges::find(mState->unreachable, node) != mState->unreachable.end()) return false;
  const auto* table = mState->find(node);
  return table == nullptr || table->isEmpty();
}

std::shared_ptr<WorldNode> WorldDirectory::addNode(std::string_view name) {
  const std::scoped_lock lock(mState->mutex);
  if (name.empty() || mState->isSearchNode(name) || mState->find(name) != nullptr) {
    throw std::invalid_argument("a node can't be named \"" + std::string(name) + "\"");
  }
  return std::make_shared<WorldNode>(mState, mState->add(name).nodeName());
}

std::shared_ptr<WorldNode> WorldDirectory::node(std::string_view name) {
  const std::scoped_lock lock(mState->mutex);
  if (mState->find(name) == nullptr) {
    throw std::out_of_range("no node \"" + std::string(name) + "\"");
  }
  return std::make_shared<WorldNode>(mState, std::string(name));
}

std::optional<std::string> WorldDirectory::guidOfUser(std::uint32_t userID) {
  return firstValueOfUser(userID, attribute::GUID);
}

std::optional<std::string> WorldDirectory::nameOfUser(std::uint32_t userID) {
  return firstValueOfUser(userID, attribute::RecordName);
}

std::optional<std::string> WorldDirectory::firstValueOfUser(std::uint32_t userID,
                                                            std::string_view kind) {
  const std::scoped_lock lock(mState->mutex);
  for (const auto* table : mState->lookupTables()) {
    const auto found = table->withValue(record::Users, attribute::UniqueID, std::to_string(userID));
    if (found.empty()) continue;
    const auto values = valuesOf(*found.front()->contents, kind);
    return values.empty() ? std::nullopt : std::optional(values.front());
  }
  return std::nullopt;
}

bool WorldDirectory::groupHoldsUser(std::string_view groupGUID, std::string_view kind,
                                    std::string_view value) {
  const std::scoped_lock lock(mState->mutex);
  const auto tables = mState->lookupTables();
  RecordTable::Found groups;
  RecordTable::Found users;
  for (const auto* table : tables) {
    std::ranges::copy(table->withValue(record::Groups, attribute::GUID, groupGUID),
                      std::back_inserter(groups));
    std::ranges::copy(table->withValue(record::Users, kind, value), std::back_inserter(users));
  }
  return std::ranges::any_of(groups, [&](const auto& group) {
    return std::ranges::any_of(users, [&](const auto& user) {
      const Member member = {false, valuesOf(*user->contents, attribute::RecordName),
                             valuesOf(*user->contents, attribute::GUID)};
      return holdsMember(*group->contents, member, tables);
    });
  });
}

}  // namespace gatehall
