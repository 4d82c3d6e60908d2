#pragma once

#include <chrono>
#include <string>

#include "linux/files/FileDescriptor.h"
#include "linux/ldap/client/URI.h"

namespace gatehall::ldap {

using Deadline = std::chrono::steady_clock::time_point;

/// Milliseconds until then, for poll(2): 0 when it has passed.
int millisecondsUntil(Deadline deadline);

/// A connection to the server, which never blocks; the socket of an ldapi URI is looked up below
/// the root. Names are looked up by the system's resolver. Raises DirectoryUnreachable, by the
/// deadline.
FileDescriptor connectTo(const URI& server, const std::string& root, Deadline deadline);

}  // namespace gatehall::ldap
