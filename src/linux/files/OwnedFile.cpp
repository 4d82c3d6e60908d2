#include "linux/files/OwnedFile.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <system_error>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FileDescriptor.h"

namespace gatehall {

namespace {

/// What the error says about the file. One that speaks of the host instead (too many open files, no
/// memory, a broken disk) is raised: a caller who brings it about must not make a file go away.
std::string reason(const std::string& path, int error) {
  const auto text = std::generic_category().message(error);
  switch (error) {
    case EINVAL:
      return "it is no regular file";
    case ELOOP:
      return "it is a symbolic link";
    case EFBIG:
      return "it is too long";
    case EACCES:
    case ENAMETOOLONG:
    case ENXIO:
      return text;
    default:
      throw PlatformException(path + ": " + text);
  }
}

/// Why the open file is not to be trusted; empty when it is.
std::string distrust(const struct stat& status, std::initializer_list<std::uint32_t> owners) {
  if (std::find(owners.begin(), owners.end(), status.st_uid) == owners.end()) {
    return "it belongs to user " + std::to_string(status.st_uid);
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) return "others than its owner can write it";
  return {};
}

}  // namespace

std::uint32_t systemOwner(const HostOptions& options) {
  struct stat status {};
  const bool isElsewhere = !options.root.empty() && stat(options.root.c_str(), &status) == 0;
  return isElsewhere ? status.st_uid : 0;
}

std::optional<std::string> readOwnedFile(const std::string& path,
                                         std::initializer_list<std::uint32_t> owners,
                                         std::size_t limit, std::string& fault) {
  fault.clear();
  struct stat status {};
  int error = 0;
  const auto file = openRegularFile(path, Symlinks::Refuse, status, error);
  if (error == ENOENT || error == ENOTDIR) return std::nullopt;
  if (error == 0) {
    fault = distrust(status, owners);
    if (!fault.empty()) return std::nullopt;
    if (auto content = readWhole(file, limit, error)) return content;
  }
  fault = reason(path, error);
  return std::nullopt;
}

}  // namespace gatehall
