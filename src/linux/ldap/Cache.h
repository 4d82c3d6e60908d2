#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "gatehall/platform/Clock.h"
#include "linux/ldap/client/Entry.h"

namespace gatehall::ldap {

/// What one question fetched, for the next ones: a list of names is looked up at once, then each of
/// the records by itself. Answers are good for a few seconds. From any thread.
class Cache {
 public:
  using Type = Schema::Type;

  explicit Cache(Clock& clock) : mClock(clock) {}

  /// The entries of the type that have the value; none is an answer too. Empty when it isn't known.
  std::optional<Entries> find(Type type, Slot slot, std::string_view value);
  void keep(Type type, Slot slot, std::string_view value, Entries entries);

  /// The same unless something is known already.
  void keepIfUnknown(Type type, Slot slot, std::string_view value,
                     const std::shared_ptr<const Entry>& entry);

  /// An entry, to be found by its GUID, which is no other one's.
  void keepEntry(const std::shared_ptr<const Entry>& entry);

  /// All entries of the type.
  std::optional<Entries> findAll(Type type);
  void keepAll(Type type, Entries entries);

  /// Whether all users, asked for up to so many, are known to be more, or in doubt.
  bool hasMoreUsersThan(std::size_t most);
  void keepMoreUsersThan(std::size_t most);

  /// The entry of a name in its canonical spelling; nullptr for one that is no user and no group.
  std::optional<std::shared_ptr<const Entry>> findName(std::string_view name);
  void keepName(std::string_view name, std::shared_ptr<const Entry> entry);

  void drop();

 private:
  template <class Content>
  struct Answer {
    double time;
    Content content;
  };
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  using Lists = Answer<Entries>;
  using One = Answer<std::shared_ptr<const Entry>>;
  /// What is kept. A group may have very many members.
  struct Answers {
    std::unordered_map<std::string, Lists, TextHash, std::equal_to<>> lists;
    std::unordered_map<std::string, One, TextHash, std::equal_to<>> names;
    std::unordered_map<std::string_view, One> entries;  ///< by the text of an entry's own GUID
  };

  double now() { return mClock.now().time_since_epoch().count(); }
  template <class Map>
  auto findIn(const Map& map, std::string_view key)
      -> std::optional<decltype(map.begin()->second.content)>;
  void makeRoom(double now);
  void dropOld(double now);

  Clock& mClock;
  std::mutex mMutex;
  Answers mAnswers;
  std::optional<Answer<std::size_t>> mMoreUsersThan;
  double mDroppedOld = 0;
};

}  // namespace gatehall::ldap
