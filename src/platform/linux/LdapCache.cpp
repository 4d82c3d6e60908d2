#include "platform/linux/LdapCache.h"

#include <cmath>
#include <utility>

namespace gatehall {

namespace {

/// Long enough for the questions of one verb or one list, too short to be noticed by whoever
/// changes the directory.
constexpr double kGoodSeconds = 5;

constexpr std::size_t kMostAnswers = 500000;

using Type = LdapCache::Type;

std::string key(Type type, LdapSlot slot, std::string_view value) {
  std::string text;
  text.reserve(value.size() + 2);
  text += type == Type::User ? 'u' : 'g';
  text += static_cast<char>(slot);
  text += value;
  return text;
}

/// No value's.
const char* keyOfAll(Type type) { return type == Type::User ? "U" : "G"; }

bool isGood(double time, double now) {
  return std::abs(now - time) < kGoodSeconds;  // clocks are set back, too
}

}  // namespace

void LdapCache::dropOld(double now) {
  if (std::abs(now - mDroppedOld) < kGoodSeconds) return;
  mDroppedOld = now;
  const auto isOld = [now](const auto& each) { return !isGood(each.second.time, now); };
  std::erase_if(mAnswers.lists, isOld);
  std::erase_if(mAnswers.names, isOld);
  std::erase_if(mAnswers.entries, isOld);
}

void LdapCache::makeRoom(double now) {
  dropOld(now);
  const auto& [lists, names, entries] = mAnswers;
  if (lists.size() + names.size() + entries.size() >= kMostAnswers) mAnswers = {};
}

template <class Map>
auto LdapCache::findIn(const Map& map, std::string_view key)
    -> std::optional<decltype(map.begin()->second.content)> {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  dropOld(time);
  const auto found = map.find(key);
  if (found == map.end() || !isGood(found->second.time, time)) return std::nullopt;
  return found->second.content;
}

std::optional<LdapEntries> LdapCache::find(Type type, LdapSlot slot, std::string_view value) {
  if (slot == LdapSlot::GUID) {
    if (auto known = findIn(mAnswers.entries, value)) {
      return (*known)->type == type ? LdapEntries{std::move(*known)} : LdapEntries();
    }
  }
  return findIn(mAnswers.lists, key(type, slot, value));
}

void LdapCache::keep(Type type, LdapSlot slot, std::string_view value, LdapEntries entries) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  mAnswers.lists.insert_or_assign(key(type, slot, value), Lists{time, std::move(entries)});
}

void LdapCache::keepIfUnknown(Type type, LdapSlot slot, std::string_view value,
                              const std::shared_ptr<const LdapEntry>& entry) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  const auto [kept, isNew] = mAnswers.lists.try_emplace(key(type, slot, value));
  if (isNew || !isGood(kept->second.time, time)) kept->second = {time, {entry}};
}

void LdapCache::keepEntry(const std::shared_ptr<const LdapEntry>& entry) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  // The key is the entry's, so that an old one goes with its entry.
  const auto guid = entry->first(LdapSlot::GUID);
  mAnswers.entries.erase(guid);
  mAnswers.entries.emplace(guid, One{time, entry});
}

std::optional<LdapEntries> LdapCache::findAll(Type type) {
  return findIn(mAnswers.lists, keyOfAll(type));
}

void LdapCache::keepAll(Type type, LdapEntries entries) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  mAnswers.lists.insert_or_assign(keyOfAll(type), Lists{time, std::move(entries)});
}

std::optional<std::shared_ptr<const LdapEntry>> LdapCache::findName(std::string_view name) {
  return findIn(mAnswers.names, name);
}

void LdapCache::keepName(std::string_view name, std::shared_ptr<const LdapEntry> entry) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  mAnswers.names.insert_or_assign(std::string(name), One{time, std::move(entry)});
}

void LdapCache::drop() {
  Answers dropped;
  const std::lock_guard lock(mMutex);
  std::swap(dropped, mAnswers);
}

}  // namespace gatehall
