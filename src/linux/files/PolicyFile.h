#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "linux/files/HostOptions.h"

namespace gatehall {

/// The content of a file by which the administrator decides over the machine's users, at a path
/// from the host's root; absent when there is none. It is the same for everybody who reads it, and
/// only the machine's owner can have written it: a regular file of systemOwner, no link, that
/// nobody else can write and everybody can read, in folders of which the same holds up to the root,
/// as OpenSSH asks of its files. A sticky folder that everybody can write is none of them. One that
/// the host's options rehearse is what they say.
///
/// Raises PlatformException, "PATH: REASON", when the file is there and is not like that, is empty
/// or longer than the limit, or can't be read. The reason is found before the reader's own rights
/// matter: root hears of a file that its users can't read.
std::optional<std::string> readPolicyFile(const HostOptions& options, std::string_view path,
                                          std::size_t limit);

/// Puts a file like that, with that content, in the place of the one at the path: at every moment,
/// that of a crash included, the old one is there or the new one, whole. It belongs to systemOwner
/// and has the mode 0644; folders that aren't there are made, with the mode 0755.
///
/// Beside it stays its lock, ".NAME.lock", which nobody but the owner can open.
///
/// Raises PlatformException, "PATH: REASON", and leaves everything as it is but for the lock and
/// folders that were made: when a folder above is not as readPolicyFile wants it, when the file is
/// there and unusable or its content isn't the known one any more (absent: there was none), and
/// when another process is at it. One failure comes too late for that: when the folder can't be
/// written out, the new file is there, and may be lost with the machine's power. Without a known
/// content any file is replaced.
void replacePolicyFile(const HostOptions& options, std::string_view path, std::string_view content,
                       const std::optional<std::string>* known);

}  // namespace gatehall
