#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/DirectoryService.h"
#include "platform/linux/LocalContext.h"
#include "platform/linux/LocalUser.h"

namespace gatehall {

/// The accounts that the query asks for: those of /etc/passwd in the file's order, then those that
/// user records alone describe, by name. Each account file is read at most once, whatever the
/// number of values or results. Two lines of one name are one account to a query by name, the first
/// as for getpwnam(3). May raise PlatformException.
std::vector<std::shared_ptr<LocalUser>> findLocalUsers(const std::shared_ptr<LocalContext>& context,
                                                       const QueryDescription& description);

/// The account of that name, else the first with that alias; nullptr when there is none. May raise
/// PlatformException.
std::shared_ptr<LocalUser> localUserNamed(const std::shared_ptr<LocalContext>& context,
                                          std::string_view name);

}  // namespace gatehall
