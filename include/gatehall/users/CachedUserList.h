#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "gatehall/base/Export.h"
#include "gatehall/users/CachedUser.h"
#include "gatehall/users/KinwatchTarget.h"

namespace gatehall {

class KinwatchMonitor;

/// An ordered list of users with indexes by GUID, by short name (aliases included) and by user id.
/// Of records for the same account, a local one replaces network copies, and nothing else replaces
/// anything.
///
/// Used by one thread at a time; only userStatusChanged may come from another, meanwhile: a list is
/// registered with the parental-controls monitor for its whole life.
class GATEHALL_EXPORT CachedUserList final : public KinwatchTarget {
  class Private {
    friend class CachedUserList;
    Private() = default;
  };

 public:
  using Users = std::vector<std::shared_ptr<CachedUser>>;
  /// A comparison of two users, answering -1, 0 or 1.
  using Comparison = int (CachedUser::*)(const CachedUser&) const;

  /// A new, empty list.
  static std::shared_ptr<CachedUserList> cachedUserList();

  explicit CachedUserList(Private);
  ~CachedUserList() override;
  CachedUserList(const CachedUserList&) = delete;
  CachedUserList& operator=(const CachedUserList&) = delete;

  /// Appends the user (nullptr is ignored), if these rules let it in:
  /// - an other user always, in no index;
  /// - a local user only with service access;
  /// - a user that shares its GUID, short name or user id with none in the list;
  /// - a local user that shares one with network users, which then go. It is added beside a local
  ///   one with which it shares another key, and takes over the keys that they share.
  /// May raise PlatformException.
  void addObject(const std::shared_ptr<CachedUser>& user);

  /// Makes room for that many users.
  void reserve(std::size_t count);

  /// addObject for each user of the other list, in its order.
  void addCachedUserList(const CachedUserList& other);

  /// The same, with less work where the outcome is certain: it let its users in already, and none
  /// of their keys stood against another's. The other list is empty then.
  void addCachedUserList(CachedUserList&& other);

  /// Removes the entry found by the user's GUID, else short name, else user id, and the user's own
  /// index keys: of its names only the first, so that its aliases still lead to what was removed. A
  /// user without a GUID removes nothing.
  void removeObject(const std::shared_ptr<CachedUser>& user);

  /// removeObject for each of the users, in one pass over the list.
  void removeObjects(const Users& users);

  /// The user with that GUID, or nullptr.
  std::shared_ptr<CachedUser> findUserByGUID(std::string_view guid) const;

  /// The user with that short name or alias, or nullptr.
  std::shared_ptr<CachedUser> findUserByShortName(std::string_view name) const;

  std::uint64_t count() const { return mUserList.size(); }

  /// The user at the index; nullptr beyond the end.
  std::shared_ptr<CachedUser> objectAtIndex(std::uint64_t index) const;

  /// The last user; nullptr when the list is empty.
  std::shared_ptr<CachedUser> lastObject() const;

  Users::const_iterator begin() const { return mUserList.begin(); }
  Users::const_iterator end() const { return mUserList.end(); }

  /// Sorts by one of CachedUser's comparisons; users that compare equal keep their order.
  void sortUsingSelector(Comparison comparison);

  /// Asks parental controls again about every user up to and including the first with that short
  /// name: about all users when nobody has it, and without a name.
  void userStatusChanged(std::optional<std::string_view> name) override;

 private:
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  using Index =
      std::unordered_map<std::string, std::shared_ptr<CachedUser>, TextHash, std::equal_to<>>;

  static std::shared_ptr<CachedUser> find(const Index& index,
                                          const std::optional<std::string>& key);
  void append(const std::shared_ptr<CachedUser>& user);
  void enter(Index& index, std::string key, const std::shared_ptr<CachedUser>& user);
  std::shared_ptr<CachedUser> takeFromIndexes(const std::shared_ptr<CachedUser>& user);

  std::shared_ptr<KinwatchMonitor> mMonitor;
  Users mUserList;
  Index mGUIDs;
  Index mShortNames;
  Index mUIDs;
  bool mHasContestedKeys = false;  ///< some key leads, or led, to another user of the list
};

}  // namespace gatehall
