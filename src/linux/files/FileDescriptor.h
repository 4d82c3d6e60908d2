#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace gatehall {

/// Owns an open file.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : mNumber(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(mNumber, other.mNumber);
    return *this;
  }
  ~FileDescriptor();

  bool isOpen() const { return mNumber >= 0; }
  int number() const { return mNumber; }

  /// Leaves the file to somebody else.
  int release() { return std::exchange(mNumber, -1); }

 private:
  int mNumber = -1;
};

enum class Symlinks { Follow, Refuse };

/// Opens a regular file for reading, never waiting on it; sets error to 0 or to the errno(3) that
/// says why not, EINVAL for what is no regular file. The status is that of the file opened.
FileDescriptor openRegularFile(const std::string& path, Symlinks symlinks, struct stat& status,
                               int& error);

/// The file's whole content, unless it is beyond the limit or a read fails: then empty, and error
/// is EFBIG or read(2)'s.
std::optional<std::string> readWhole(const FileDescriptor& file, std::size_t limit, int& error);

}  // namespace gatehall
