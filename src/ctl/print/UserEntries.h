#pragma once

#include <memory>
#include <string>

#include "ctl/print/Json.h"
#include "ctl/print/Table.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall::ctl {

/// The users in the list's order, each with what tells them apart on a login screen; null without a
/// list.
Json usersJson(const std::shared_ptr<CachedUserList>& users);

/// What marks a user of usersJson: "local, current"; "-" for nothing.
std::string userMarks(const Json& user);

/// What usersJson says, a line a user. Without a list the one line is the given text.
Table usersTable(const Json& users, const std::string& withoutList);

/// The same without a document in between: there may be very many users.
Table usersTable(const std::shared_ptr<CachedUserList>& users, const std::string& withoutList);

}  // namespace gatehall::ctl
