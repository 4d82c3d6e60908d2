#pragma once

#include <string>

#include "linux/files/FileDescriptor.h"
#include "linux/ldap/client/Deadline.h"
#include "linux/ldap/client/URI.h"

namespace gatehall::ldap {

/// A connection to the server, which never blocks; the socket of an ldapi URI is looked up below
/// the root. Names are looked up by the system's resolver. Raises DirectoryUnreachable, by the
/// deadline.
FileDescriptor connectTo(const URI& server, const std::string& root, Deadline deadline);

}  // namespace gatehall::ldap
