#pragma once

#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// What of the files that decide about logins is there for root and not for other users, one
/// sentence each. Programs run by others, gatehall-switch among them, may decide otherwise for it.
/// By the modes of the files and of the folders that they are in (inode(7)).
Strings policyFilesHiddenFromUsers(const HostOptions& options);

}  // namespace gatehall
