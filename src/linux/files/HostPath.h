#pragma once

#include <string>
#include <string_view>

#include "linux/files/FileDescriptor.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// Where the host's file or folder of that absolute path stands. Of a host under a root of its own,
/// a symbolic link on the way leads where it leads on that machine, and never out of the root, as
/// RESOLVE_IN_ROOT of openat2(2) has it; one in the last place is followed or left as it is. What
/// isn't there stands where it would. Raises PlatformException for links without an end.
std::string hostPath(const std::string& root, std::string_view path,
                     Symlinks last = Symlinks::Follow);

inline std::string hostPath(const HostOptions& options, std::string_view path,
                            Symlinks last = Symlinks::Follow) {
  return hostPath(options.root, path, last);
}

}  // namespace gatehall
