#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "listing/ListChange.h"
#include "listing/ListedUser.h"
#include "people/Person.h"

namespace gatehall {

/// The rows that people see: the users of the service's list, less those whom the search doesn't
/// find and, where that is wanted, those who may not log in, or of whom it isn't known yet. On one
/// thread.
class Roll {
 public:
  /// What becomes of those who may not log in.
  enum class Refused { Shown, Hidden };

  /// Who is told what became of the rows. Of several changes each is told by itself, with the roll
  /// as it is after it; rows that aren't named stay in their order. It must not change the roll.
  struct Follower {
    /// From that row on so many are gone, and so many others stand in their place. Also when the
    /// last one who was awaited gets no row.
    std::function<void(std::size_t position, std::size_t removed, std::size_t added)> spliced;
    /// The user of that row is the same, and something about them is not.
    std::function<void(std::size_t position)> updated;
  };

  explicit Roll(Refused refused = Refused::Shown) : mRefused(refused) {}
  Roll(const Roll&) = delete;
  Roll& operator=(const Roll&) = delete;

  void follow(Follower follower) { mFollower = std::move(follower); }

  /// The list as a whole, once it is known.
  void setUsers(const ListedUsers& users);
  /// The list after the changes, as FollowedList tells them: the keys of those of whom it says
  /// something else than before. Changes that are not for the list replace it.
  std::vector<std::uint64_t> change(const std::vector<ListChange>& changes,
                                    const ListedUsers& users);
  bool hasList() const { return mHasList; }
  /// So many users the list has, whether or not they have a row.
  std::size_t total() const { return mEntries.size(); }

  /// Leaves those whom the text finds (people/Search.h).
  void search(const std::string& text);
  const std::string& searched() const { return mSearched; }

  /// Makes so many more users ready to be searched, which else the first search does. False when
  /// all are.
  bool prepareSearch(std::size_t count);

  /// What is known of the login of the user with that key, if one in the list has it.
  struct Answer {
    std::uint64_t key = 0;
    Admission admission{};
  };
  /// Many at once are cheaper than one by one.
  void admit(const std::vector<Answer>& answers);
  /// Whether somebody has no row only because it isn't known yet whether they may log in.
  bool awaitsAnswers() const { return mAwaited > 0; }
  /// Whoever is awaited gets a row without an answer.
  void awaitNobody();
  bool hidesRefused() const { return mRefused == Refused::Hidden; }

  std::size_t size() const { return mRows.size(); }
  /// Of a row below the size.
  Person at(std::size_t row) const;
  /// The same number for a user for as long as that one is in the list.
  std::uint64_t keyAt(std::size_t row) const { return mRows.at(row)->key; }
  std::optional<std::size_t> rowOf(std::uint64_t key) const;
  std::optional<std::size_t> rowOf(const ListedUser& user) const;

  /// Whether or not they have a row: all users by their keys, in the list's order, and one of them.
  std::vector<std::uint64_t> keys() const;
  std::optional<Person> find(std::uint64_t key) const;

 private:
  struct Entry {
    std::uint64_t key = 0;
    Person person{};
    std::optional<std::string> names{};  ///< as they are searched, once they were
    bool isAwaited = false;              ///< nothing is known yet, and the refused are hidden
    bool isShown = false;
    bool hasMoved = false;
    bool isUpdated = false;  ///< and its row isn't told yet
  };
  using Entries = std::vector<std::shared_ptr<Entry>>;

  std::shared_ptr<Entry> entryOf(std::shared_ptr<const ListedUser> user);
  bool apply(const std::vector<ListChange>& changes, const ListedUsers& users);
  void replace(const ListedUsers& users);
  static void update(Entry& entry, const std::shared_ptr<const ListedUser>& user);
  static const std::string& namesOf(Entry& entry);
  bool isWanted(Entry& entry) const;
  void keep();
  void show();
  void splice(std::size_t position, std::size_t removed, const Entries& added);
  void tellUpdated() const;

  const Refused mRefused;
  Follower mFollower{};
  bool mHasList = false;
  std::uint64_t mLastKey = 0;
  std::string mSearched{};
  std::vector<std::string> mWords{};  ///< of the search, as they are compared
  Entries mEntries{};                 ///< all users, in the list's order
  Entries mRows{};
  std::unordered_map<std::uint64_t, std::shared_ptr<Entry>> mByKey{};
  std::size_t mAwaited = 0;   ///< so many
  std::size_t mPrepared = 0;  ///< so many of the first entries are ready to be searched
};

}  // namespace gatehall
