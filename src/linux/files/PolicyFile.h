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
/// as OpenSSH asks of its files. A sticky folder that everybody can write is none of them.
///
/// Raises PlatformException, "PATH: REASON", when the file is there and is not like that, is empty
/// or longer than the limit, or can't be read. The reason is found before the reader's own rights
/// matter: root hears of a file that its users can't read.
std::optional<std::string> readPolicyFile(const HostOptions& options, std::string_view path,
                                          std::size_t limit);

}  // namespace gatehall
