#include "linux/ldap/Cache.h"

#include <cmath>
#include <utility>

namespace gatehall::ldap {

namespace {

/// Long enough for the questions of one verb or one list, too short to be noticed by whoever
/// changes the directory.
constexpr double kGoodSeconds = 5;

constexpr std::size_t kMostAnswers = 500000;

using Type = Cache::Type;

std::string key(Type type, Slot slot, std::string_view value) {
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

void Cache::dropOld(double now) {
  if (std::abs(now - mDroppedOld) < kGoodSeconds) return;
  mDroppedOld = now;
  const auto isOld = [now](const auto& each) { return !isGood(each.second.time, now); };
  std::erase_if(mAnswers.lists, isOld);
  std::erase_if(mAnswers.names, isOld);
  std::erase_if(mAnswers.entries, isOld);
}

void Cache::makeRoom(double now) {
  dropOld(now);
  const auto& [lists, names, entries] = mAnswers;
  if (lists.size() + names.size() + entries.size() >= kMostAnswers) mAnswers = {};
}

template <class Map>
auto Cache::findIn(const Map& map, std::string_view key)
    -> std::optional<decltype(map.begin()->second.content)> {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  dropOld(time);
  const auto found = map.find(key);
  if (found == map.end() || !isGood(found->second.time, time)) return std::nullopt;
  return found->second.content;
}

std::optional<Entries> Cache::find(Type type, Slot slot, std::string_view value) {
  if (slot == Slot::GUID) {
    if (auto known = findIn(mAnswers.entries, value)) {
      return (*known)->type == type ? Entries{std::move(*known)} : Entries();
    }
  }
  return findIn(mAnswers.lists, key(type, slot, value));
}

void Cache::keep(Type type, Slot slot, std::string_view value, Entries entries) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  mAnswers.lists.insert_or_assign(key(type, slot, value), Lists{time, std::move(entries)});
}

void Cache::keepIfUnknown(Type type, Slot slot, std::string_view value,
                          const std::shared_ptr<const Entry>& entry) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  const auto [kept, isNew] = mAnswers.lists.try_emplace(key(type, slot, value));
  if (isNew || !isGood(kept->second.time, time)) kept->second = {time, {entry}};
}

void Cache::keepEntry(const std::shared_ptr<const Entry>& entry) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  // The key is the entry's, so that an old one goes with its entry.
  const auto guid = entry->first(Slot::GUID);
  mAnswers.entries.erase(guid);
  mAnswers.entries.emplace(guid, One{time, entry});
}

std::optional<Entries> Cache::findAll(Type type) { return findIn(mAnswers.lists, keyOfAll(type)); }

void Cache::keepAll(Type type, Entries entries) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  mAnswers.lists.insert_or_assign(keyOfAll(type), Lists{time, std::move(entries)});
}

bool Cache::hasMoreUsersThan(std::size_t most) {
  const std::lock_guard lock(mMutex);
  // Fewer come to nothing where more did.
  return mMoreUsersThan && isGood(mMoreUsersThan->time, now()) && most <= mMoreUsersThan->content;
}

void Cache::keepMoreUsersThan(std::size_t most) {
  const std::lock_guard lock(mMutex);
  mMoreUsersThan = {now(), most};
}

std::optional<std::shared_ptr<const Entry>> Cache::findName(std::string_view name) {
  return findIn(mAnswers.names, name);
}

void Cache::keepName(std::string_view name, std::shared_ptr<const Entry> entry) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  makeRoom(time);
  mAnswers.names.insert_or_assign(std::string(name), One{time, std::move(entry)});
}

void Cache::drop() {
  Answers dropped;
  const std::lock_guard lock(mMutex);
  std::swap(dropped, mAnswers);
  mMoreUsersThan.reset();
}

}  // namespace gatehall::ldap
