#pragma once

#include <optional>

#include "linux/files/HostOptions.h"

namespace gatehall::nss {

/// Whether SSSD answers out of its cache now, since the servers of one of its domains are away:
/// what its InfoPipe says, sssd-ifp(5). Absent where that isn't there, or doesn't tell who asks;
/// root alone is told unless it is set up otherwise. Raises nothing.
std::optional<bool> isSssdOffline(const HostOptions& options);

}  // namespace gatehall::nss
