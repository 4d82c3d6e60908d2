#pragma once

#include <memory>

#include "linux/files/HostOptions.h"
#include "linux/files/SecretText.h"

namespace gatehall::ldap {

/// The first line of a file that holds a password. The file belongs to root or to the process's own
/// user, and nobody else can read it but the group of /etc/shadow, which may read every password
/// here. Raises DirectoryUnreachable when there is no such file, or none to be trusted, or when
/// this process may not read it.
std::unique_ptr<SecretText> readPasswordFile(const HostOptions& options, const std::string& file);

}  // namespace gatehall::ldap
