#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "linux/local/Context.h"
#include "linux/local/User.h"

namespace gatehall::local {

/// The accounts that the query asks for: those of /etc/passwd in the file's order, then those that
/// user records alone describe, by name. Each account file is read at most once, whatever the
/// number of values or results. Two lines of one name are one account to a query by name, the first
/// as for getpwnam(3). May raise PlatformException.
///
/// An account whose user record can't be read raises as well, where it is asked for or may be among
/// what is asked for, unless the group file makes it an administrator: its line alone describes it
/// then. With allowPartial such accounts are left out.
std::vector<std::shared_ptr<User>> findUsers(const std::shared_ptr<Context>& context,
                                             const QueryDescription& description,
                                             bool allowPartial = false);

/// The account of that name, else the first with that alias; nullptr when there is none. May raise
/// PlatformException.
std::shared_ptr<User> userNamed(const std::shared_ptr<Context>& context, std::string_view name);

}  // namespace gatehall::local
