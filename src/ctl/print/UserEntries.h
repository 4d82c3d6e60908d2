#pragma once

#include <memory>
#include <string>

#include "ctl/print/Json.h"
#include "ctl/print/Table.h"
#include "gatehall/users/CachedUserList.h"
#include "listing/ListedUser.h"

namespace gatehall::ctl {

/// What tells the user apart on a login screen, but not what parental controls say.
Json userJson(const ListedUser& user);

/// The users in the list's order; null without a list.
Json usersJson(const std::shared_ptr<CachedUserList>& users);

/// What marks a user of userJson: "local, mobile, in front" or "logged in"; "-" for nothing.
std::string userMarks(const Json& user);

/// What userJson says, a line a user.
Table usersTable(const ListedUsers& users);

/// The same without another list in between: there may be very many users. Without a list the one
/// line is the given text.
Table usersTable(const std::shared_ptr<CachedUserList>& users, const std::string& withoutList);

}  // namespace gatehall::ctl
