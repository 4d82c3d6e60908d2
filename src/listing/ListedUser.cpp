#include "listing/ListedUser.h"

#include <cstddef>
#include <unordered_map>
#include <utility>

namespace gatehall {

namespace {

constexpr auto kFirstMoment = std::chrono::sys_days(std::chrono::year(1) / 1 / 1);
constexpr auto kLastMoment = std::chrono::sys_days(std::chrono::year(10000) / 1 / 1);

/// Finds users of an earlier list. Mostly the next one is asked for.
class Earlier {
 public:
  explicit Earlier(const ListedUsers& users) : mUsers(users) {}

  std::shared_ptr<const ListedUser> equalTo(const ListedUser& user) {
    if (mNext < mUsers.size() && *mUsers[mNext] == user) return mUsers[mNext++];
    if (mIndexes.empty()) {
      for (std::size_t index = 0; index < mUsers.size(); ++index) {
        mIndexes.emplace(mUsers[index]->uid, index);
      }
    }
    const auto found = mIndexes.find(user.uid);
    if (found == mIndexes.end()) return nullptr;
    mNext = found->second + 1;
    return *mUsers[found->second] == user ? mUsers[found->second] : nullptr;
  }

 private:
  const ListedUsers& mUsers;
  std::size_t mNext = 0;
  std::unordered_map<std::uint32_t, std::size_t> mIndexes;  ///< by user id, of the first with it
};

}  // namespace

Moment momentOf(Date date) {
  if (!(date >= Date(kFirstMoment))) return kFirstMoment;
  if (date >= Date(kLastMoment)) return kLastMoment - std::chrono::microseconds(1);
  return std::chrono::floor<std::chrono::microseconds>(date);
}

ListedUser listed(const CachedUser& user) {
  ListedUser entry{.shortName = user.shortName(),
                   .longName = user.longName(),
                   .guid = user.getGUID(),
                   .node = user.node(),
                   .picture = user.userPicturePath(),
                   .uid = user.getUid(),
                   .local = user.isLocalUser(),
                   .current = user.isCurrentUser(),
                   .suspended = user.isSuspended(),
                   .mobile = user.isMobileHomeUser(),
                   .kinwatchAllowsLogin = user.kinwatchAllowsLogin(),
                   .kinwatchNextCurfewTime = std::nullopt};
  if (const auto curfew = user.kinwatchNextCurfewTime()) {
    entry.kinwatchNextCurfewTime = momentOf(*curfew);
  }
  return entry;
}

ListedUsers listed(const std::shared_ptr<CachedUserList>& users, const ListedUsers& before) {
  ListedUsers list;
  if (!users) return list;
  list.reserve(users->count());
  Earlier earlier(before);
  for (const auto& user : *users) {
    auto entry = listed(*user);
    auto same = earlier.equalTo(entry);
    list.push_back(same ? std::move(same) : std::make_shared<const ListedUser>(std::move(entry)));
  }
  return list;
}

ListedUsers withoutHours(const ListedUsers& users) {
  auto list = users;
  for (auto& each : list) {
    if (each->kinwatchAllowsLogin.value_or(true) && !each->kinwatchNextCurfewTime) continue;
    auto user = *each;
    user.kinwatchAllowsLogin = true;
    user.kinwatchNextCurfewTime.reset();
    each = std::make_shared<const ListedUser>(std::move(user));
  }
  return list;
}

}  // namespace gatehall
