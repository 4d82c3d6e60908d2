#include "linux/files/PolicyFile.h"

#include <cerrno>
#include <cstdint>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
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

  enum class Missing { AreMade, EndTheWay };

  /// Enters the folders above the file; false when one of them isn't there.
  bool enterFolders(Missing missing = Missing::EndTheWay) {
    for (auto begin = mPath.find_first_not_of('/');;) {
      const auto end = mPath.find('/', begin);
      mName = mPath.substr(begin, end - begin);
      mAt = end;
      if (end == std::string_view::npos) return true;
      struct stat status {};
      FileDescriptor folder(
          openat(mFolder.number(), mName.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
      if (!folder.isOpen() && errno == ENOENT) {
        if (missing == Missing::EndTheWay) return false;
        folder = madeFolder();
      }
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

  /// Whoever has it is the only one who writes the file; nobody waits for it. It is a file of its
  /// own, which stays: everybody may lock what everybody can read (flock(2)).
  FileDescriptor lock() const {
    const auto name = "." + mName + ".lock";
    constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    FileDescriptor file(openat(mFolder.number(), name.c_str(), kFlags | O_CREAT | O_EXCL, 0600));
    // One that was there isn't given to anybody: it may be another file under that name.
    if (file.isOpen() && !isGiven(file, 0600)) fail(errno);
    if (!file.isOpen() && errno == EEXIST) {
      file = FileDescriptor(openat(mFolder.number(), name.c_str(), kFlags));
    }
    struct stat status {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0) fail(errno);
    const bool isOwners = status.st_uid == mOwner || status.st_uid == geteuid();
    if (!S_ISREG(status.st_mode) || !isOwners || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
      raise("its lock, " + name + ", is not a file that only its owner can open");
    }
    if (flock(file.number(), LOCK_EX | LOCK_NB) == 0) return file;
    if (errno == EWOULDBLOCK) raise("another process is writing it");
    fail(errno);
  }

  /// Puts a new file in the file's place. The file is locked.
  void replaceFile(std::string_view content) const {
    const auto folder = openedFolder();
    const auto name = "." + mName + ".new";
    // One that was left by a process that died.
    if (unlinkat(folder.number(), name.c_str(), 0) != 0 && errno != ENOENT) fail(errno);
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor file(openat(folder.number(), name.c_str(), kFlags, 0600));
    if (!file.isOpen()) fail(errno);
    if (!isWritten(file, content) ||
        renameat(folder.number(), name.c_str(), folder.number(), mName.c_str()) != 0) {
      const int error = errno;
      unlinkat(folder.number(), name.c_str(), 0);
      fail(error);
    }
    // Else the name might be lost with the machine's power, and with it the old file's.
    if (fsync(folder.number()) != 0) fail(errno);
  }

  [[noreturn]] void fail(int error) const { raise(std::generic_category().message(error)); }

  [[noreturn]] void raise(const std::string& reason) const {
    std::string text(mPath);
    throw PlatformException(text.append(": ").append(reason));
  }

 private:
  FileDescriptor openedFolder() const {
    FileDescriptor folder(openat(mFolder.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) fail(errno);
    return folder;
  }

  /// The folder of the next name, which wasn't there.
  FileDescriptor madeFolder() const {
    const bool isMade = mkdirat(mFolder.number(), mName.c_str(), 0755) == 0;
    if (!isMade && errno != EEXIST) fail(errno);
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    FileDescriptor folder(openat(mFolder.number(), mName.c_str(), kFlags));
    if (!folder.isOpen()) fail(errno);
    if (!isMade) return folder;
    // Whoever owns the folder above can put another of root's in its place.
    if (geteuid() != mOwner && !isNew(folder)) raise("a folder above was changed meanwhile");
    if (!isGiven(folder, 0755) || fsync(openedFolder().number()) != 0) fail(errno);
    return folder;
  }

  /// Whether it is as mkdir(2) makes it for this process.
  bool isNew(const FileDescriptor& folder) const {
    struct stat status {};
    if (fstat(folder.number(), &status) != 0) fail(errno);
    struct Close {
      void operator()(DIR* each) const { closedir(each); }
    };
    FileDescriptor another(openat(folder.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, Close> entries(fdopendir(another.number()));
    if (entries == nullptr) fail(errno);
    another.release();
    std::size_t count = 0;
    while (count <= 2 && readdir(entries.get()) != nullptr) ++count;
    return status.st_uid == geteuid() && count == 2;  // "." and ".."
  }

  /// Makes what is new the system's own.
  bool isGiven(const FileDescriptor& file, mode_t mode) const {
    const bool isOwners = geteuid() == mOwner || fchown(file.number(), mOwner, kSameGroup) == 0;
    return isOwners && fchmod(file.number(), mode) == 0;
  }

  bool isWritten(const FileDescriptor& file, std::string_view content) const {
    while (!content.empty()) {
      const auto count = write(file.number(), content.data(), content.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return false;
      content.remove_prefix(static_cast<std::size_t>(count));
    }
    return isGiven(file, 0644) && fsync(file.number()) == 0;
  }

  void check(const struct stat& status, bool isFolder) const {
    const auto reason = distrust(status, mOwner, isFolder);
    if (reason.empty()) return;
    if (!isFolder) raise("it " + reason);
    std::string folder("the folder ");
    raise(folder.append(mPath.substr(0, mAt)).append(" ").append(reason));
  }

  static constexpr gid_t kSameGroup = static_cast<gid_t>(-1);

  std::string_view mPath;
  std::uint32_t mOwner;
  FileDescriptor mFolder;
  std::string mName;    ///< of what comes next, in the folder
  std::size_t mAt = 0;  ///< where the folder that is looked at ends in the path
};

}  // namespace

namespace {

/// The content of the file that the way has come to; absent when there is none.
std::optional<std::string> contentAt(const Way& way, std::size_t limit) {
  const auto file = way.openFile();
  if (!file.isOpen()) return std::nullopt;
  int error = 0;
  auto content = readWhole(file, limit, error);
  if (!content && error == EFBIG) way.raise("it is too long");
  if (!content) way.fail(error);
  if (content->empty()) way.raise("it is empty");
  return content;
}

}  // namespace

std::optional<std::string> readPolicyFile(const HostOptions& options, std::string_view path,
                                          std::size_t limit) {
  const auto rehearsed = options.rehearsed.find(path);
  if (rehearsed != options.rehearsed.end()) return rehearsed->second;
  Way way(options, path);
  if (!way.enterFolders()) return std::nullopt;
  return contentAt(way, limit);
}

void replacePolicyFile(const HostOptions& options, std::string_view path, std::string_view content,
                       const std::optional<std::string>* known) {
  Way way(options, path);
  way.enterFolders(Way::Missing::AreMade);
  const auto lock = way.lock();
  constexpr std::size_t kLargest = std::size_t{64} << 20U;
  if (known != nullptr && contentAt(way, kLargest) != *known) {
    way.raise("it was changed meanwhile");
  }
  way.replaceFile(content);
}

}  // namespace gatehall
