#pragma once

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <system_error>

namespace gatehall {

/// Puts an empty folder in place of /run, as this thread of the test sees it, so that a test can
/// play logind.
class OwnRun {
 public:
  /// Empty, or why this process can't have a /run of its own.
  static const std::string& obstacle() {
    static const std::string found = enterOwnMounts();
    return found;
  }

  OwnRun() {
    if (!obstacle().empty() || mount("none", "/run", "tmpfs", 0, nullptr) != 0) {
      throw std::system_error(errno, std::generic_category(), "mount");
    }
    for (const auto* folder : {"sessions", "seats", "users"}) {
      std::filesystem::create_directories(std::string("/run/systemd/") + folder);
    }
  }
  ~OwnRun() { umount2("/run", MNT_DETACH); }
  OwnRun(const OwnRun&) = delete;
  OwnRun& operator=(const OwnRun&) = delete;

  static void write(const std::string& path, const std::string& content) {
    std::ofstream("/run/systemd/" + path) << content;
  }

 private:
  static std::string enterOwnMounts() {
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      return "No mounts of its own for this process: " + std::generic_category().message(errno);
    }
    return {};
  }
};

}  // namespace gatehall
