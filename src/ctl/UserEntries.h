#pragma once

#include <memory>
#include <string>

#include "ctl/Json.h"
#include "ctl/Table.h"
#include "ctl/Verb.h"
#include "users/CachedUserList.h"

namespace gatehall::ctl {

/// The users in the list's order, each with what tells them apart on a login screen; null without a
/// list.
Json usersJson(const std::shared_ptr<CachedUserList>& users);

/// What marks a user of usersJson: "local, current"; "-" for nothing.
std::string userMarks(const Json& user);

/// What usersJson says, a line a user. Without a list the one line is the given text.
Table usersTable(const Json& users, const std::string& withoutList);

/// The users and what was logged, as the request wants them. Without a list the one line of the
/// table is the given text.
Answer usersAnswer(const Host& host, const Request& request,
                   const std::shared_ptr<CachedUserList>& users, const std::string& withoutList);

}  // namespace gatehall::ctl
