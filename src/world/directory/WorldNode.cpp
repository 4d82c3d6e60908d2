#include "world/directory/WorldNode.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "portable/StillToAsk.h"

namespace gatehall {

namespace {

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

class WorldQuery final : public DirectoryQuery {
 public:
  WorldQuery(std::shared_ptr<DirectoryState> state, std::string node, QueryDescription description)
      : mState(std::move(state)), mNode(std::move(node)), mDescription(std::move(description)) {}

  std::optional<Records> results(bool allowPartial) override {
    Records records;
    {
      const std::scoped_lock lock(mState->mutex);
      const auto tables = mState->tablesBehind(mNode);
      if (!tables) return std::nullopt;
      if (!mState->isSearchNode(mNode)) {
        add(*tables, mDescription, records);
        return records;
      }
      add(mState->coveredTables(0, kFirstNetworkNode), mDescription, records);
      if (isEnough(records)) return records;
    }
    // The records take the lock to be asked.
    const auto open = isLocalFirst() ? stillToAsk(mDescription, records) : mDescription;
    if (!open) return records;
    const std::scoped_lock lock(mState->mutex);
    if (!mState->tablesBehind(mNode)) return std::nullopt;
    mState->tellOfAway(allowPartial);
    add(mState->coveredTables(kFirstNetworkNode, SIZE_MAX), *open, records);
    return records;
  }

 private:
  bool isLocalFirst() const {
    const std::scoped_lock lock(mState->mutex);
    return mState->isSearchNode(mNode) && mState->searchNode->localFirst;
  }

  bool isEnough(const Records& records) const {
    return mDescription.maximumResults != 0 && records.size() >= mDescription.maximumResults;
  }

  /// The lock is held.
  void add(const std::vector<RecordTable*>& tables, QueryDescription description,
           Records& records) const {
    if (description.maximumResults != 0) {
      description.maximumResults -= static_cast<std::uint32_t>(records.size());
    }
    RecordTable::Found found;
    for (const auto* table : tables) table->find(description, found);
    records.reserve(records.size() + found.size());
    for (auto& each : found) {
      records.push_back(std::make_shared<WorldRecord>(mState, std::move(each)));
    }
  }

  const std::shared_ptr<DirectoryState> mState;
  const std::string mNode;
  const QueryDescription mDescription;
};

}  // namespace

WorldNode::WorldNode(std::shared_ptr<DirectoryState> state, std::string name)
    : mState(std::move(state)), mName(std::move(name)) {}

std::optional<std::string> WorldNode::nodeName() { return mName; }

std::optional<Strings> WorldNode::subnodeNames() {
  const std::scoped_lock lock(mState->mutex);
  if (!mState->isSearchNode(mName) || !mState->isReachable(mName)) return std::nullopt;
  return mState->searchNode->covers;
}

std::optional<Strings> WorldNode::unreachableSubnodeNames() {
  const std::scoped_lock lock(mState->mutex);
  if (!mState->isSearchNode(mName) || !mState->isReachable(mName)) return std::nullopt;
  return mState->unreachable;
}

std::shared_ptr<DirectoryRecord> WorldNode::recordByTypeAndName(std::string_view type,
                                                                std::string_view name,
                                                                const Strings& /*attributes*/) {
  const std::scoped_lock lock(mState->mutex);
  const auto tables = mState->tablesBehind(mName);
  if (!tables) return nullptr;
  const auto firstIn =
      [&](const std::vector<RecordTable*>& places) -> std::shared_ptr<DirectoryRecord> {
    for (const auto* each : places) {
      const auto found = each->withValue(type, attribute::RecordName, name);
      if (!found.empty()) return std::make_shared<WorldRecord>(mState, found.front());
    }
    return nullptr;
  };
  if (!mState->isSearchNode(mName)) return firstIn(*tables);
  if (auto local = firstIn(mState->coveredTables(0, kFirstNetworkNode))) return local;
  mState->tellOfAway(false);
  return firstIn(mState->coveredTables(kFirstNetworkNode, SIZE_MAX));
}

std::shared_ptr<DirectoryQuery> WorldNode::query(QueryDescription description) {
  if (description.recordTypes.empty() || description.attribute.empty()) return nullptr;
  return std::make_shared<WorldQuery>(mState, mName, std::move(description));
}

std::shared_ptr<WorldRecord> WorldNode::addRecord(RecordDescription description) {
  const std::scoped_lock lock(mState->mutex);
  auto contents = std::make_shared<RecordContents>();
  contents->type = mState->kept(description.type);
  contents->attributes.reserve(description.attributes.size() + 1);
  for (auto& [kind, values] : description.attributes) {
    contents->attributes.push_back({mState->kept(attribute::canonical(kind)), std::move(values)});
  }
  if (contents->values(attribute::MetaNodeLocation) == nullptr) {
    contents->attributes.push_back({mState->kept(attribute::MetaNodeLocation), {mName}});
  }
  contents->password = std::move(description.password);
  contents->policy = std::move(description.policy);
  contents->refusal = std::move(description.refusal);
  for (auto& [kind, why] : description.unreadable) {
    contents->unreadable.emplace(attribute::canonical(kind), std::move(why));
  }
  return std::make_shared<WorldRecord>(mState, table().add(std::move(contents)));
}

std::shared_ptr<WorldRecord> WorldNode::record(std::string_view type, std::string_view name) {
  const std::scoped_lock lock(mState->mutex);
  const auto found = table().withValue(type, attribute::RecordName, name);
  if (found.empty()) throw std::out_of_range("no record \"" + std::string(name) + "\"");
  return std::make_shared<WorldRecord>(mState, found.front());
}

RecordTable& WorldNode::table() const {
  auto* found = mState->find(mName);
  if (found == nullptr) throw std::out_of_range("no node \"" + mName + "\"");
  return *found;
}

}  // namespace gatehall
