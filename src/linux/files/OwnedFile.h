#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

#include "linux/files/HostOptions.h"

namespace gatehall {

/// The user whose files the machine's own are: root, or, for a host under a directory of its own,
/// that directory's owner.
std::uint32_t systemOwner(const HostOptions& options);

/// The content of a file that only those who may can have written: a regular file, no symbolic link
/// in its last place, of one of the owners, that neither group nor others can write. The checks are
/// made on the opened file. Empty with an empty fault: there is no such file. Empty otherwise: the
/// fault says why it is not read. Raises PlatformException when the host fails
/// (too many open files, a broken disk).
std::optional<std::string> readOwnedFile(const std::string& path,
                                         std::initializer_list<std::uint32_t> owners,
                                         std::size_t limit, std::string& fault);

}  // namespace gatehall
