#pragma once

#include <chrono>
#include <string>

#include "linux/nss/Message.h"

namespace gatehall::nss {

/// Has a process of its own ask the C library, which may block for as long as it likes, and loads
/// whatever nsswitch.conf(5) names. The process has one end of a socket and nothing else of this
/// one's: no descriptor, environment, folder, signal handler or terminal; it ends with the answer,
/// with the thread that asks, and when the time is over.
///
/// The program is the one that is installed for it, unless a path is given. A set-group-id program
/// asks none that its caller can read: such a process could be traced, and made to say anything.
///
/// Raises DirectoryUnreachable without a whole answer, with the reason, and with that of the answer
/// when it can't be told. From any thread.
Answer askNameService(const std::string& program, const Question& question,
                      std::chrono::milliseconds limit);

}  // namespace gatehall::nss
