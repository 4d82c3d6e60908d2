#include "platform/linux/LdapCache.h"

#include <cmath>
#include <utility>

namespace gatehall {

namespace {

/// Long enough for the questions of one verb or one list, too short to be noticed by whoever
/// changes the directory.
constexpr double kGoodSeconds = 5;

constexpr std::size_t kMostAnswers = 500000;

}  // namespace

std::string LdapCache::key(Type type, LdapSlot slot, std::string_view value) {
  std::string text;
  text.reserve(value.size() + 2);
  text += type == Type::User ? 'u' : 'g';
  text += static_cast<char>(slot);
  text += value;
  return text;
}

bool LdapCache::isGood(const Answer& answer, double now) const {
  return std::abs(now - answer.time) < kGoodSeconds;  // clocks are set back, too
}

void LdapCache::dropOld(double now) {
  if (std::abs(now - mDroppedOld) < kGoodSeconds) return;
  mDroppedOld = now;
  std::erase_if(mAnswers, [&](const auto& each) { return !isGood(each.second, now); });
}

std::optional<LdapEntries> LdapCache::findKey(const std::string& key) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  dropOld(time);
  const auto found = mAnswers.find(key);
  if (found == mAnswers.end() || !isGood(found->second, time)) return std::nullopt;
  return found->second.entries;
}

void LdapCache::keepKey(std::string key, LdapEntries entries) {
  const std::lock_guard lock(mMutex);
  const auto time = now();
  dropOld(time);
  if (mAnswers.size() >= kMostAnswers) mAnswers.clear();
  mAnswers.insert_or_assign(std::move(key), Answer{time, std::move(entries)});
}

std::optional<LdapEntries> LdapCache::find(Type type, LdapSlot slot, std::string_view value) {
  if (slot == LdapSlot::GUID) {
    if (auto known = findKey(entryKey(value))) {
      return known->front()->type == type ? std::move(*known) : LdapEntries();
    }
  }
  return findKey(key(type, slot, value));
}

void LdapCache::keep(Type type, LdapSlot slot, std::string_view value, LdapEntries entries) {
  keepKey(key(type, slot, value), std::move(entries));
}

void LdapCache::keepEntry(const std::shared_ptr<const LdapEntry>& entry) {
  keepKey(entryKey(entry->first(LdapSlot::GUID)), {entry});
}

std::optional<LdapEntries> LdapCache::findAll(Type type) {
  return findKey(type == Type::User ? "U" : "G");
}

void LdapCache::keepAll(Type type, LdapEntries entries) {
  keepKey(type == Type::User ? "U" : "G", std::move(entries));
}

std::optional<std::shared_ptr<const LdapEntry>> LdapCache::findName(std::string_view name) {
  const auto found = findKey("n" + std::string(name));
  if (!found) return std::nullopt;
  return found->empty() ? nullptr : found->front();
}

void LdapCache::keepName(std::string_view name, std::shared_ptr<const LdapEntry> entry) {
  keepKey("n" + std::string(name), entry ? LdapEntries{std::move(entry)} : LdapEntries());
}

void LdapCache::drop() {
  Answers dropped;
  const std::lock_guard lock(mMutex);
  dropped.swap(mAnswers);
}

}  // namespace gatehall
