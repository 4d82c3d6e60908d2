#include "platform/linux/SystemFile.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "platform/linux/FileDescriptor.h"

namespace gatehall {

std::optional<std::string> readSystemFile(const HostOptions& options, std::string_view path,
                                          std::size_t limit, std::string& fault) {
  fault.clear();
  struct stat status {};
  int error = 0;
  const auto file =
      openRegularFile(options.root + std::string(path), Symlinks::Follow, status, error);
  if (error == ENOENT || error == ENOTDIR) return std::nullopt;
  if (error == 0) {
    const bool isOwn = !options.root.empty() && status.st_uid == geteuid();
    if (status.st_uid != 0 && !isOwn) {
      fault = "ignored, because it isn't root's";
    } else if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
      fault = "ignored, because others than its owner can write it";
    }
    if (!fault.empty()) return std::nullopt;
    if (auto content = readWhole(file, limit, error)) return content;
  }
  fault = error == EINVAL ? "not a regular file" : strerrordesc_np(error);
  return std::nullopt;
}

}  // namespace gatehall
