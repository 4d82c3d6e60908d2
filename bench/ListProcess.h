#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bench/Processes.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/linux/LinuxPlatform.h"

namespace gatehall::bench {

/// In a process of its own: fails unless the list has that many users.
inline int listUsers(std::uint64_t count) {
  Platform::install(std::make_shared<LinuxPlatform>(LinuxOptions(), std::string("list-process")));
  const auto list = UserAccess::sharedUserAccess()->visibleUsersList();
  // The process ends with its memory as it is, as getent and every login screen do.
  _exit(list && list->count() == count ? 0 : 1);
}

/// The same of LightDM's list (lightdm/user.h); the result is not compared, since LightDM goes by
/// its own /etc/lightdm/users.conf.
inline int listUsersOfLightDM(int count) {
  void* library = dlopen("liblightdm-gobject-1.so.0", RTLD_NOW);
  if (library == nullptr) return 1;
  using GetInstance = void* (*)();
  using GetLength = int (*)(void*);
  const auto getInstance =
      reinterpret_cast<GetInstance>(dlsym(library, "lightdm_user_list_get_instance"));
  const auto getLength =
      reinterpret_cast<GetLength>(dlsym(library, "lightdm_user_list_get_length"));
  const int length = getLength(getInstance());
  std::fprintf(stderr, "LightDM lists %d of %d\n", length, count);
  _exit(length > 0 ? 0 : 1);
}

/// What this program does where it was started for one list: its exit status.
inline std::optional<int> listProcess(int argc, char** argv) {
  const std::string_view task = argc == 3 ? argv[1] : "";
  if (task == "list") return listUsers(std::stoull(argv[2]));
  if (task == "lightdm") return listUsersOfLightDM(std::stoi(argv[2]));
  return std::nullopt;
}

inline Command listCommand(const char* task, int count) {
  return {std::filesystem::read_symlink("/proc/self/exe"), task, std::to_string(count)};
}
inline Command ourList(int count) { return listCommand("list", count); }
inline Command listOfLightDM(int count) { return listCommand("lightdm", count); }
inline Command getent() { return {"/usr/bin/getent", "-s", "files", "passwd"}; }

}  // namespace gatehall::bench
