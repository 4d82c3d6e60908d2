#pragma once

#include <cerrno>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "linux/files/FileDescriptor.h"
#include "tests/linux/Machine.h"

namespace gatehall {

/// A way in which a file that is there can't be used.
struct UnusableFile {
  std::string name;
  /// Makes a good file of the machine one, or answers why this process can't.
  std::function<std::string(Machine& machine, const std::string& path)> make;
  /// What is said of it, with FOLDER for the folder that the file is in.
  std::string reason;

  std::string reasonFor(const std::string& path) const {
    auto text = reason;
    const std::string place = "FOLDER";
    const auto at = text.find(place);
    return at == std::string::npos ? text : text.replace(at, place.size(), folderOf(path));
  }

  static std::string folderOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

  /// All of them.
  static std::vector<UnusableFile> all();
};

inline std::ostream& operator<<(std::ostream& stream, const UnusableFile& each) {
  return stream << each.name;
}

inline std::vector<UnusableFile> UnusableFile::all() {
  using Path = const std::string&;
  const auto worked = [](int result) {
    return result == 0 ? std::string() : std::generic_category().message(errno);
  };
  const auto mode = [=](mode_t bits) {
    return [=](Machine& machine, Path path) {
      return worked(chmod(machine.path(path).c_str(), bits));
    };
  };
  const auto folderMode = [=](mode_t bits) {
    return [=](Machine& machine, Path path) {
      return worked(chmod(machine.path(folderOf(path)).c_str(), bits));
    };
  };
  const auto away = [](Machine& machine, Path path) {
    std::filesystem::rename(machine.path(path), machine.path("/elsewhere"));
    return machine.path(path);
  };
  return {
      {"OfAnotherOwner",
       [=](Machine& machine, Path path) {
         return worked(chown(machine.path(path).c_str(), 1001, 50));
       },
       "it belongs to user 1001"},
      {"WritableByItsGroup", mode(0664), "it can be written by others than its owner"},
      {"WritableByOthers", mode(0646), "it can be written by others than its owner"},
      {"ReadableByItsGroupOnly", mode(0640), "it can't be read by everybody"},
      {"ReadableByItsOwnerOnly", mode(0600), "it can't be read by everybody"},
      {"ALink",
       [=](Machine& machine, Path path) {
         const auto place = away(machine, path);
         return worked(symlink(machine.path("/elsewhere").c_str(), place.c_str()));
       },
       "it is a symbolic link"},
      {"ALinkToNothing",
       [=](Machine& machine, Path path) {
         return worked(symlink("nothing", away(machine, path).c_str()));
       },
       "it is a symbolic link"},
      {"APipe",
       [=](Machine& machine, Path path) {
         return worked(mkfifo(away(machine, path).c_str(), 0644));
       },
       "it is no regular file"},
      {"ADevice",
       [=](Machine& machine, Path path) {
         constexpr dev_t kNull = 0x103;
         return worked(mknod(away(machine, path).c_str(), S_IFCHR | 0644, kNull));
       },
       "it is no regular file"},
      {"ASocket",
       [=](Machine& machine, Path path) {
         sockaddr_un address{AF_UNIX, {}};
         away(machine, path).copy(address.sun_path, sizeof address.sun_path - 1);
         const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
         return worked(
             bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
       },
       "it is no regular file"},
      {"AFolder",
       [=](Machine& machine, Path path) {
         return worked(mkdir(away(machine, path).c_str(), 0755));
       },
       "it is no regular file"},
      {"Empty",
       [=](Machine& machine, Path path) { return worked(truncate(machine.path(path).c_str(), 0)); },
       "it is empty"},
      {"TooLong",
       [=](Machine& machine, Path path) {
         return worked(truncate(machine.path(path).c_str(), off_t{1} << 40U));
       },
       "it is too long"},
      {"InAFolderOfAnotherOwner",
       [=](Machine& machine, Path path) {
         return worked(chown(machine.path(folderOf(path)).c_str(), 1001, 50));
       },
       "the folder FOLDER belongs to user 1001"},
      {"InAFolderThatItsGroupCanWrite", folderMode(0775),
       "the folder FOLDER can be written by others than its owner"},
      {"InAFolderThatOthersCanWrite", folderMode(0757),
       "the folder FOLDER can be written by others than its owner"},
      {"InAStickyFolder", folderMode(01777),
       "the folder FOLDER can be written by others than its owner"},
      {"InAFolderThatOthersCanNotSearch", folderMode(0754),
       "the folder FOLDER can't be searched by everybody"},
      {"InAFolderBehindALink",
       [=](Machine& machine, Path path) {
         const auto folder = machine.path(folderOf(path));
         std::filesystem::rename(folder, machine.path("/elsewhere"));
         return worked(symlink("/elsewhere", folder.c_str()));
       },
       "the folder FOLDER is a symbolic link"},
      {"BelowAFileInItsFoldersPlace",
       [=](Machine& machine, Path path) {
         std::filesystem::remove_all(machine.path(folderOf(path)));
         machine.write(folderOf(path), "no folder");
         return std::string();
       },
       "the folder FOLDER is no folder"},
  };
}

/// What a user without rights gets when the question is put in a process of theirs: its text, up to
/// a pipe's length.
inline std::string askedAsNobody(const std::function<std::string()>& question) {
  constexpr uid_t kNobody = 65534;
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe");
  const FileDescriptor answer(ends[0]);
  FileDescriptor place(ends[1]);
  const auto child = fork();
  if (child == 0) {
    if (setresgid(kNobody, kNobody, kNobody) != 0 || setresuid(kNobody, kNobody, kNobody) != 0) {
      _exit(2);
    }
    const auto text = question();
    _exit(write(place.number(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0
                                                                                               : 1);
  }
  place = FileDescriptor();
  int error = 0;
  auto text = readWhole(answer, 65536, error).value_or("nothing was read");
  int status = 0;
  waitpid(child, &status, 0);
  return status == 0 ? text : "the process ended with status " + std::to_string(status);
}

}  // namespace gatehall
