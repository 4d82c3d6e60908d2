#include "gatehall/users/CachedUserList.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "base/TextStart.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/KinwatchMonitor.h"

namespace gatehall {

namespace {

/// The user id as the record spells it, not converted.
std::optional<std::string> userIDText(const CachedUser& user) {
  const auto value = user.getAttribute(attribute::UniqueID);
  if (!value) return std::nullopt;
  const auto* text = value->string();
  return text != nullptr ? *text : value->description();
}

Strings recordNames(const CachedUser& user) {
  Strings names;
  const auto values = user.getAttributes(attribute::RecordName);
  if (!values) return names;
  if (const auto* name = values->string()) names.push_back(*name);
  if (const auto* list = values->array()) {
    for (const auto& each : *list) names.push_back(each.description());
  }
  return names;
}

void eraseKey(auto& index, const std::optional<std::string>& key) {
  if (key) index.erase(*key);
}

/// As a list is that was sorted before some of its users went.
bool areInOrderOfLongNames(const CachedUserList::Users& users, Collation& collation) {
  std::string before;
  return std::ranges::all_of(users, [&](const auto& user) {
    auto name = user->longName().value_or("");
    const bool isInOrder = collation.compare(before, name) <= 0;
    before = std::move(name);
    return isInOrder;
  });
}

/// A place in a list, and the collation key of the name there.
struct Place {
  std::uint64_t start = 0;  ///< the key's first bytes, which mostly decide
  std::size_t index = 0;
};

/// Sorts by long name with one collation key a user instead of one comparison a pair.
void sortByLongName(CachedUserList::Users& users) {
  auto& collation = platform().collation();
  if (areInOrderOfLongNames(users, collation)) return;
  std::vector<std::string> keys;
  std::vector<Place> places;
  keys.reserve(users.size());
  places.reserve(users.size());
  for (const auto& user : users) {
    keys.push_back(collation.sortKey(user->longName().value_or("")));
    places.push_back({startOfText(keys.back()), places.size()});
  }
  std::ranges::sort(places, [&](const Place& left, const Place& right) {
    if (left.start != right.start) return left.start < right.start;
    const int order = keys[left.index].compare(keys[right.index]);
    return order != 0 ? order < 0 : left.index < right.index;
  });
  CachedUserList::Users sorted;
  sorted.reserve(users.size());
  for (const auto& place : places) sorted.push_back(std::move(users[place.index]));
  users = std::move(sorted);
}

}  // namespace

std::shared_ptr<CachedUserList> CachedUserList::cachedUserList() {
  return std::make_shared<CachedUserList>(Private());
}

CachedUserList::CachedUserList(Private) : mMonitor(KinwatchMonitor::sharedKWMonitor()) {
  mMonitor->addTarget(this);
}

CachedUserList::~CachedUserList() { mMonitor->removeTarget(this); }

std::shared_ptr<CachedUser> CachedUserList::find(const Index& index,
                                                 const std::optional<std::string>& key) {
  if (!key) return nullptr;
  const auto entry = index.find(*key);
  return entry != index.end() ? entry->second : nullptr;
}

void CachedUserList::append(const std::shared_ptr<CachedUser>& user) {
  const auto held = mMonitor->lock();
  mUserList.push_back(user);
}

void CachedUserList::addObject(const std::shared_ptr<CachedUser>& user) {
  if (!user) return;
  if (user->isOtherUser()) {
    append(user);
    return;
  }
  const bool local = user->isLocalUser();
  if (local && !user->hasSACLAccess()) return;

  const auto guid = user->getGUID();
  const auto name = user->shortName();
  const auto uid = userIDText(*user);
  const auto byGUID = find(mGUIDs, guid);
  const auto byName = find(mShortNames, name);
  const auto byUID = find(mUIDs, uid);
  if (byGUID || byName || byUID) {
    if (!local) return;
    bool replaced = false;
    for (const auto& present : {byGUID, byName, byUID}) {
      if (present && !present->isLocalUser()) {
        removeObject(present);
        replaced = true;
      }
    }
    if (!replaced) return;
  }

  append(user);
  if (guid) enter(mGUIDs, *guid, user);
  if (uid) enter(mUIDs, *uid, user);
  if (!name) return;
  for (auto& each : recordNames(*user)) enter(mShortNames, std::move(each), user);
}

void CachedUserList::enter(Index& index, std::string key, const std::shared_ptr<CachedUser>& user) {
  const auto [entry, isNew] = index.try_emplace(std::move(key), user);
  if (isNew || entry->second == user) return;
  entry->second = user;
  mHasContestedKeys = true;
}

void CachedUserList::reserve(std::size_t count) {
  const auto held = mMonitor->lock();
  mUserList.reserve(count);
  for (auto* index : {&mGUIDs, &mShortNames, &mUIDs}) index->reserve(count);
}

void CachedUserList::addCachedUserList(const CachedUserList& other) {
  for (const auto& user : Users(other.mUserList)) addObject(user);
}

void CachedUserList::addCachedUserList(CachedUserList&& other) {
  const bool isEmpty = mUserList.empty() && mGUIDs.empty() && mShortNames.empty() && mUIDs.empty();
  if (!isEmpty || other.mHasContestedKeys) {
    addCachedUserList(std::as_const(other));
    return;
  }
  const auto held = mMonitor->lock();
  mUserList.swap(other.mUserList);
  mGUIDs.swap(other.mGUIDs);
  mShortNames.swap(other.mShortNames);
  mUIDs.swap(other.mUIDs);
}

/// The entry that removeObject takes out, or nullptr; its keys, as far as they are the user's, are
/// gone from the indexes.
std::shared_ptr<CachedUser> CachedUserList::takeFromIndexes(
    const std::shared_ptr<CachedUser>& user) {
  const auto guid = user ? user->getGUID() : std::nullopt;
  if (!guid) return nullptr;
  const auto name = user->shortName();
  const auto uid = userIDText(*user);
  auto entry = find(mGUIDs, guid);
  if (!entry) entry = find(mShortNames, name);
  if (!entry) entry = find(mUIDs, uid);
  if (!entry) return nullptr;
  eraseKey(mGUIDs, guid);
  eraseKey(mShortNames, name);
  eraseKey(mUIDs, uid);
  return entry;
}

void CachedUserList::removeObject(const std::shared_ptr<CachedUser>& user) {
  removeObjects({user});
}

void CachedUserList::removeObjects(const Users& users) {
  std::unordered_set<std::shared_ptr<CachedUser>> entries;
  for (const auto& user : users) {
    if (auto entry = takeFromIndexes(user)) entries.insert(std::move(entry));
  }
  if (entries.empty()) return;
  mHasContestedKeys = true;  // aliases go on leading to who was removed
  const auto held = mMonitor->lock();
  std::erase_if(mUserList, [&](const auto& user) { return entries.contains(user); });
}

std::shared_ptr<CachedUser> CachedUserList::findUserByGUID(std::string_view guid) const {
  const auto entry = mGUIDs.find(guid);
  return entry != mGUIDs.end() ? entry->second : nullptr;
}

std::shared_ptr<CachedUser> CachedUserList::findUserByShortName(std::string_view name) const {
  const auto entry = mShortNames.find(name);
  return entry != mShortNames.end() ? entry->second : nullptr;
}

std::shared_ptr<CachedUser> CachedUserList::objectAtIndex(std::uint64_t index) const {
  return index < mUserList.size() ? mUserList[index] : nullptr;
}

std::shared_ptr<CachedUser> CachedUserList::lastObject() const {
  return mUserList.empty() ? nullptr : mUserList.back();
}

void CachedUserList::sortUsingSelector(Comparison comparison) {
  if (mUserList.size() < 2) return;
  auto sorted = mUserList;
  if (comparison == &CachedUser::cachedUserLongNameCompare) {
    sortByLongName(sorted);
  } else {
    std::stable_sort(sorted.begin(), sorted.end(), [&](const auto& left, const auto& right) {
      return ((*left).*comparison)(*right) < 0;
    });
  }
  const auto held = mMonitor->lock();
  mUserList.swap(sorted);
}

void CachedUserList::userStatusChanged(std::optional<std::string_view> name) {
  for (const auto& user : mUserList) {
    user->kinwatchStatusUpdated();
    if (name && user->shortName() == name) return;
  }
}

}  // namespace gatehall
