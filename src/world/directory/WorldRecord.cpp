#include "world/directory/WorldRecord.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "world/directory/Members.h"

namespace gatehall {

namespace {

void replaceValues(DirectoryState& state, RecordContents& contents, std::string_view kind,
                   Strings values) {
  kind = attribute::canonical(kind);
  const auto present =
      std::ranges::find(contents.attributes, kind, &RecordContents::Attribute::kind);
  if (present != contents.attributes.end()) {
    present->values = std::move(values);
  } else {
    contents.attributes.push_back({state.kept(kind), std::move(values)});
  }
}

}  // namespace

WorldRecord::WorldRecord(std::shared_ptr<DirectoryState> state,
                         std::shared_ptr<StoredRecord> stored)
    : mState(std::move(state)), mStored(std::move(stored)), mSeen(mStored->contents) {}

std::string WorldRecord::recordType() {
  const std::scoped_lock lock(mState->mutex);
  return std::string(mSeen->type);
}

std::optional<Strings> WorldRecord::valuesForAttribute(std::string_view kind) {
  const std::scoped_lock lock(mState->mutex);
  mSeen->requireReadable(kind);
  if (attribute::canonical(kind) == attribute::GroupMembership) {
    if (auto names = memberNames()) return names;
  }
  const auto* values = mSeen->values(kind);
  return values == nullptr ? std::nullopt : std::optional(*values);
}

std::optional<Strings> WorldRecord::memberNames() const {
  const auto* guids = mSeen->values(attribute::GroupMembers);
  if (mSeen->type != record::Groups || guids == nullptr || guids->empty()) return std::nullopt;
  const auto* listed = mSeen->values(attribute::GroupMembership);
  auto names = listed == nullptr ? Strings() : *listed;
  std::unordered_set<std::string> known(names.begin(), names.end());
  for (const auto* table : mState->lookupTables()) {
    for (const auto& guid : *guids) {
      for (const auto& user : table->withValue(record::Users, attribute::GUID, guid)) {
        const auto* own = user->contents->values(attribute::RecordName);
        if (own == nullptr || own->empty() || !known.insert(own->front()).second) continue;
        names.push_back(own->front());
      }
    }
  }
  if (names.empty()) return std::nullopt;
  return names;
}

std::optional<Dictionary> WorldRecord::recordDetails(const Strings& kinds) {
  std::shared_ptr<const RecordContents> seen;
  std::optional<Strings> members;
  {
    const std::scoped_lock lock(mState->mutex);
    seen = mSeen;
    for (const auto& kind : kinds) seen->requireReadable(kind);
    if (kinds.empty() && !seen->unreadable.empty()) {
      throw PlatformException(seen->unreadable.begin()->second);
    }
    members = memberNames();
  }
  Dictionary details;
  for (const auto& [kind, values] : seen->attributes) {
    if (kinds.empty()) details.emplace(kind, values);
  }
  for (const auto& kind : kinds) {
    const auto* values = seen->values(kind);
    if (values != nullptr) details.emplace(attribute::canonical(kind), *values);
  }
  const bool asksForMembers =
      kinds.empty() || std::ranges::any_of(kinds, [](const std::string& kind) {
        return attribute::canonical(kind) == attribute::GroupMembership;
      });
  if (members && asksForMembers) {
    details.insert_or_assign(std::string(attribute::GroupMembership), std::move(*members));
  }
  return details;
}

bool WorldRecord::setValue(std::string_view value, std::string_view kind) {
  const std::scoped_lock lock(mState->mutex);
  return isLive() && change([&](RecordContents& contents) {
           replaceValues(*mState, contents, kind, {std::string(value)});
         });
}

bool WorldRecord::verifyPassword(std::string_view password, DirectoryError& error) {
  const std::scoped_lock lock(mState->mutex);
  if (isLive() && mStored->contents->password == password) return true;
  error = mStored->contents->refusal;
  return false;
}

bool WorldRecord::changePassword(std::string_view oldPassword, std::string_view newPassword,
                                 DirectoryError& error) {
  const std::scoped_lock lock(mState->mutex);
  if (isLive() && mStored->contents->password == oldPassword) {
    return change([&](RecordContents& contents) { contents.password = newPassword; });
  }
  error = mStored->contents->refusal;
  return false;
}

bool WorldRecord::isMember(DirectoryRecord& member) {
  // The member may be of any host, so it is asked before the lock is taken.
  const Member wanted = {member.recordType() == record::Groups,
                         member.valuesForAttribute(attribute::RecordName).value_or(Strings()),
                         member.valuesForAttribute(attribute::GUID).value_or(Strings())};
  const std::scoped_lock lock(mState->mutex);
  return isLive() && holdsMember(*mStored->contents, wanted, mState->lookupTables());
}

std::optional<Dictionary> WorldRecord::passwordPolicy() {
  const std::scoped_lock lock(mState->mutex);
  return mSeen->policy;
}

bool WorldRecord::synchronize() {
  const std::scoped_lock lock(mState->mutex);
  if (!isLive()) return false;
  mSeen = mStored->contents;
  return true;
}

void WorldRecord::setValues(std::string_view kind, Strings values) {
  edit(
      [&](RecordContents& contents) { replaceValues(*mState, contents, kind, std::move(values)); });
}

void WorldRecord::removeAttribute(std::string_view kind) {
  edit([&](RecordContents& contents) {
    std::erase_if(contents.attributes, [&](const auto& attribute) {
      return attribute.kind == attribute::canonical(kind);
    });
  });
}

void WorldRecord::setPassword(std::optional<std::string> password) {
  edit([&](RecordContents& contents) { contents.password = std::move(password); });
}

void WorldRecord::setRefusal(DirectoryError refusal) {
  edit([&](RecordContents& contents) { contents.refusal = std::move(refusal); });
}

void WorldRecord::setPolicy(std::optional<Dictionary> policy) {
  edit([&](RecordContents& contents) { contents.policy = std::move(policy); });
}

void WorldRecord::remove() {
  const std::scoped_lock lock(mState->mutex);
  if (mStored->table != nullptr) mStored->table->remove(*mStored);
}

template <class Change>
bool WorldRecord::change(Change change) {
  if (mStored->table == nullptr) return false;
  auto changed = std::make_shared<RecordContents>(*mStored->contents);
  change(*changed);
  mSeen = std::move(changed);
  mStored->table->replace(*mStored, mSeen);
  return true;
}

template <class Change>
void WorldRecord::edit(Change change) {
  const std::scoped_lock lock(mState->mutex);
  this->change(std::move(change));
}

bool WorldRecord::isLive() const {
  return mStored->table != nullptr && mState->isReachable(mStored->table->nodeName());
}

}  // namespace gatehall
