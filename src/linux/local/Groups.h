#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "linux/local/Context.h"
#include "linux/local/Group.h"

namespace gatehall::local {

/// The groups that the query asks for: those of /etc/group in the file's order, then "admin". A
/// group of that name in the file lends it its group id. Each account file is read at most once,
/// and /etc/passwd only where members are asked for. Two lines of one name are one group to a
/// query by name, the first as for getgrnam(3). Raises PlatformException when a file isn't there or
/// can't be read, but for the question who is an administrator, which needs none; and when a group
/// that was asked for by its name, id or GUID isn't found but may stand in a line that can't be
/// read.
std::vector<std::shared_ptr<Group>> findGroups(const std::shared_ptr<Context>& context,
                                               const QueryDescription& description);

/// The group of that name; nullptr when there is none. May raise PlatformException.
std::shared_ptr<Group> groupNamed(const std::shared_ptr<Context>& context, std::string_view name);

}  // namespace gatehall::local
