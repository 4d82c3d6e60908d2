#include "linux/files/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace gatehall {

FileDescriptor::~FileDescriptor() {
  if (mNumber >= 0) close(mNumber);
}

FileDescriptor openRegularFile(const std::string& path, Symlinks symlinks, struct stat& status,
                               int& error) {
  const int noFollow = symlinks == Symlinks::Refuse ? O_NOFOLLOW : 0;
  // Without O_NONBLOCK, opening a FIFO would wait for its writer.
  FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | noFollow));
  if (!file.isOpen() || fstat(file.number(), &status) != 0) {
    error = errno;
    return {};
  }
  error = S_ISREG(status.st_mode) ? 0 : EINVAL;
  return error == 0 ? std::move(file) : FileDescriptor();
}

std::optional<std::string> readWhole(const FileDescriptor& file, std::size_t limit, int& error) {
  constexpr std::size_t kStep = 16384;
  std::string content;
  error = 0;
  // The text may be a secret, which growing would leave behind in pieces.
  struct stat status {};
  if (fstat(file.number(), &status) == 0 && status.st_size > 0) {
    content.reserve(std::min(limit, static_cast<std::size_t>(status.st_size)) + 2 * kStep);
  }
  for (;;) {
    const auto size = content.size();
    content.resize(size + kStep);
    const auto count = read(file.number(), content.data() + size, kStep);
    if (count < 0 && errno == EINTR) {
      content.resize(size);
      continue;
    }
    if (count < 0) {
      error = errno;
      return std::nullopt;
    }
    content.resize(size + static_cast<std::size_t>(count));
    if (count == 0) return content;
    if (content.size() > limit) {
      error = EFBIG;
      return std::nullopt;
    }
  }
}

}  // namespace gatehall
