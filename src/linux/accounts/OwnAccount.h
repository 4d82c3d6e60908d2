#pragma once

#include <cstdint>
#include <string_view>

#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// Whether the machine's own accounts, of /etc/passwd or of user records, have one with that name
/// or that user id, be it usable or not. A line whose user id can't be read may be any. Raises
/// PlatformException when the files can't be read.
bool isOwnAccount(const HostOptions& options, FaultLog& faults, std::string_view name,
                  std::uint32_t userID);

}  // namespace gatehall
