#include "world/directory/WorldNode.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

class WorldQuery final : public DirectoryQuery {
 public:
  WorldQuery(std::shared_ptr<DirectoryState> state, std::string node, QueryDescription description)
      : mState(std::move(state)), mNode(std::move(node)), mDescription(std::move(description)) {}

  std::optional<std::vector<std::shared_ptr<DirectoryRecord>>> results(
      bool /*allowPartial*/) override {
    const std::scoped_lock lock(mState->mutex);
    const auto tables = mState->tablesBehind(mNode);
    if (!tables) return std::nullopt;
    RecordTable::Found found;
    for (const auto* table : *tables) table->find(mDescription, found);
    std::vector<std::shared_ptr<DirectoryRecord>> records;
    records.reserve(found.size());
    for (auto& each : found) {
      records.push_back(std::make_shared<WorldRecord>(mState, std::move(each)));
    }
    return records;
  }

 private:
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
  for (const auto* each : *tables) {
    const auto found = each->withValue(type, attribute::RecordName, name);
    if (!found.empty()) return std::make_shared<WorldRecord>(mState, found.front());
  }
  return nullptr;
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
