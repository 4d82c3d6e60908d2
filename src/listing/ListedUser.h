#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "gatehall/base/Value.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall {

/// A moment as it is told to others.
using Moment = std::chrono::sys_time<std::chrono::microseconds>;

/// The whole microsecond that the date is in; beyond the years 1 to 9999, the first or last moment
/// of those.
Moment momentOf(Date date);

/// What tells a user of the visible list apart on a login screen, and what parental controls say,
/// as it was when it was asked. What an account lacks is absent.
struct ListedUser {
  std::optional<std::string> shortName;
  std::optional<std::string> longName;
  std::optional<std::string> guid;
  std::optional<std::string> node;
  std::optional<std::string> picture;  ///< a path
  std::uint32_t uid = 0;
  bool local = false;
  bool current = false;
  bool suspended = false;
  bool mobile = false;
  std::optional<bool> kinwatchAllowsLogin;  ///< absent: not to be known
  std::optional<Moment> kinwatchNextCurfewTime;

  friend bool operator==(const ListedUser&, const ListedUser&) = default;
};

/// A state of the list, in its order. Lists may share users.
using ListedUsers = std::vector<std::shared_ptr<const ListedUser>>;

ListedUser listed(const CachedUser& user);

/// No users without a list. Users who are as they were are those of the list before, so that two
/// states of a long list take hardly more memory than one.
ListedUsers listed(const std::shared_ptr<CachedUserList>& users, const ListedUsers& before = {});

/// The list with nobody of whom parental controls have something to say: whoever they had stands in
/// it without; the others are shared.
ListedUsers withoutHours(const ListedUsers& users);

}  // namespace gatehall
