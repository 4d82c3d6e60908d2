#pragma once

#include <memory>
#include <string>

#include "ctl/request/Verb.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall::ctl {

/// The users and what was logged, as the request wants them. Without a list the one line of the
/// table is the given text.
Answer usersAnswer(const Host& host, const Request& request,
                   const std::shared_ptr<CachedUserList>& users, const std::string& withoutList);

}  // namespace gatehall::ctl
