#include "linux/files/PolicyFile.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/OwnedFile.h"

namespace gatehall {

namespace {

/// Why a file or folder in that state decides nothing; empty when it may.
std::string distrust(const struct stat& status, std::uint32_t owner, bool isFolder) {
  if (S_ISLNK(status.st_mode)) return "is a symbolic link";
  if (isFolder && !S_ISDIR(status.st_mode)) return "is no folder";
  if (!isFolder && !S_ISREG(status.st_mode)) return "is no regular file";
  if (status.st_uid != owner) return "belongs to user " + std::to_string(status.st_uid);
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) return "can be written by others than its owner";
  if (isFolder && (status.st_mode & S_IXOTH) == 0) return "can't be searched by everybody";
  if (!isFolder && (status.st_mode & S_IROTH) == 0) return "can't be read by everybody";
  return {};
}

/// Goes from folder to folder, each opened in the one above, so that nothing is checked in one
/// place and read in another.
class Way {
 public:
  Way(const HostOptions& options, std::string_view path)
      : mPath(path), mOwner(systemOwner(options)) {
    const auto root = options.root.empty() ? std::string("/") : options.root;
    mFolder = FileDescriptor(::open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!mFolder.isOpen()) fail(errno);
    // A host below a folder of its own has that folder from whoever made the host.
    if (options.root.empty()) {
      mAt = 1;
      struct stat status {};
      if (fstat(mFolder.number(), &status) != 0) fail(errno);
      check(status, true);
    }
  }

  /// Enters the folders above the file; false when one of them isn't there.
  bool enterFolders() {
    for (auto begin = mPath.find_first_not_of('/');;) {
      const auto end = mPath.find('/', begin);
      mName = mPath.substr(begin, end - begin);
      mAt = end;
      if (end == std::string_view::npos) return true;
      struct stat status {};
      FileDescriptor folder(
          openat(mFolder.number(), mName.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
      if (!folder.isOpen() && errno == ENOENT) return false;
      if (!folder.isOpen() || fstat(folder.number(), &status) != 0) fail(errno);
      check(status, true);
      mFolder = std::move(folder);
      begin = mPath.find_first_not_of('/', end);
    }
  }

  /// Opens the file; one that isn't there is not open.
  FileDescriptor openFile() const {
    struct stat status {};
    if (fstatat(mFolder.number(), mName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) return {};
      fail(errno);
    }
    check(status, false);
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    FileDescriptor file(openat(mFolder.number(), mName.c_str(), kFlags));
    if (!file.isOpen() && errno == ENOENT) return {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0) fail(errno);
    check(status, false);  // another may stand there by now
    return file;
  }

  [[noreturn]] void fail(int error) const { raise(std::generic_category().message(error)); }

  [[noreturn]] void raise(const std::string& reason) const {
    std::string text(mPath);
    throw PlatformException(text.append(": ").append(reason));
  }

 private:
  void check(const struct stat& status, bool isFolder) const {
    const auto reason = distrust(status, mOwner, isFolder);
    if (reason.empty()) return;
    if (!isFolder) raise("it " + reason);
    std::string folder("the folder ");
    raise(folder.append(mPath.substr(0, mAt)).append(" ").append(reason));
  }

  std::string_view mPath;
  std::uint32_t mOwner;
  FileDescriptor mFolder;
  std::string mName;    ///< of what comes next, in the folder
  std::size_t mAt = 0;  ///< where the folder that is looked at ends in the path
};

}  // namespace

std::optional<std::string> readPolicyFile(const HostOptions& options, std::string_view path,
                                          std::size_t limit) {
  Way way(options, path);
  if (!way.enterFolders()) return std::nullopt;
  const auto file = way.openFile();
  if (!file.isOpen()) return std::nullopt;
  int error = 0;
  auto content = readWhole(file, limit, error);
  if (!content && error == EFBIG) way.raise("it is too long");
  if (!content) way.fail(error);
  if (content->empty()) way.raise("it is empty");
  return content;
}

}  // namespace gatehall
