#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/Clock.h"
#include "platform/linux/LdapEntry.h"

namespace gatehall {

/// What one question fetched, for the next ones: a list of names is looked up at once, then each of
/// the records by itself. Answers are good for a few seconds. From any thread.
class LdapCache {
 public:
  using Type = LdapSchema::Type;

  explicit LdapCache(Clock& clock) : mClock(clock) {}

  /// The entries of the type that have the value; none is an answer too. Empty when it isn't known.
  std::optional<LdapEntries> find(Type type, LdapSlot slot, std::string_view value);
  void keep(Type type, LdapSlot slot, std::string_view value, LdapEntries entries);

  /// An entry, to be found by its GUID, which is no other one's.
  void keepEntry(const std::shared_ptr<const LdapEntry>& entry);

  /// All entries of the type.
  std::optional<LdapEntries> findAll(Type type);
  void keepAll(Type type, LdapEntries entries);

  /// The entry of a name in its canonical spelling; nullptr for one that is no user and no group.
  std::optional<std::shared_ptr<const LdapEntry>> findName(std::string_view name);
  void keepName(std::string_view name, std::shared_ptr<const LdapEntry> entry);

  void drop();

 private:
  struct Answer {
    double time;
    LdapEntries entries;
  };
  using Answers = std::unordered_map<std::string, Answer>;

  static std::string key(Type type, LdapSlot slot, std::string_view value);
  static std::string entryKey(std::string_view guid) { return "e" + std::string(guid); }
  std::optional<LdapEntries> findKey(const std::string& key);
  void keepKey(std::string key, LdapEntries entries);
  double now() { return mClock.now().time_since_epoch().count(); }
  bool isGood(const Answer& answer, double now) const;
  void dropOld(double now);

  Clock& mClock;
  std::mutex mMutex;
  Answers mAnswers;
  double mDroppedOld = 0;
};

}  // namespace gatehall
