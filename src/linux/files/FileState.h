#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>
#include <tuple>

namespace gatehall {

/// What tells one state of a file from another.
class FileState {
 public:
  /// Of the file as it is now; absent when nothing is known of it.
  static std::optional<FileState> of(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileState(status);
  }

  off_t size() const { return mStatus.st_size; }

  /// When the file was last changed, in whole seconds since 1970-01-01 00:00 UTC.
  time_t changed() const { return mStatus.st_ctim.tv_sec; }

  friend bool operator==(const FileState& left, const FileState& right) {
    return left.identity() == right.identity();
  }

 private:
  explicit FileState(const struct stat& status) : mStatus(status) {}

  std::tuple<dev_t, ino_t, off_t, time_t, long, time_t, long> identity() const {
    return {mStatus.st_dev,         mStatus.st_ino,          mStatus.st_size,
            mStatus.st_mtim.tv_sec, mStatus.st_mtim.tv_nsec, mStatus.st_ctim.tv_sec,
            mStatus.st_ctim.tv_nsec};
  }

  struct stat mStatus;
};

}  // namespace gatehall
