#pragma once

#include <filesystem>
#include <sched.h>
#include <string>
#include <sys/mount.h>

#include "bench/Processes.h"

namespace gatehall::bench {

/// Account files of the benchmark's own in place of the machine's, for this process and those that
/// it starts. Needs root.
class OwnAccounts {
 public:
  OwnAccounts() {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-bench-XXXXXX").string();
    mFolder = mkdtemp(name.data());
    if (unshare(CLONE_NEWNS) != 0) fail("unshare");
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) fail("mount");
    for (const auto* file : kFiles) {
      const auto target = std::string("/etc/") + file;
      std::filesystem::copy_file(target, mFolder / file);
      if (mount((mFolder / file).c_str(), target.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        fail("mount " + target);
      }
    }
  }
  ~OwnAccounts() {
    for (const auto* file : kFiles) umount2((std::string("/etc/") + file).c_str(), MNT_DETACH);
    std::filesystem::remove_all(mFolder);
  }
  OwnAccounts(const OwnAccounts&) = delete;
  OwnAccounts& operator=(const OwnAccounts&) = delete;

  /// The folder of passwd, shadow and group, to be written over, not replaced.
  const std::filesystem::path& folder() const { return mFolder; }

 private:
  static constexpr const char* kFiles[] = {"passwd", "shadow", "group"};

  std::filesystem::path mFolder;
};

}  // namespace gatehall::bench
