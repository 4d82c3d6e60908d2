// The first complete list of users to show, sorted, of the accounts in /etc/passwd: the whole of
// one process against getent(1) reading all of 70,000, and against LightDM's library listing 10,000
// (without AccountsService, so that both read the same file). Then how the time grows from 1,000 to
// 1,000,000 accounts, and from 10,000 to 70,000 when an access list admits every second one. All
// run in a mount namespace of their own, in which the account files are the benchmark's. Needs
// root.

#include <cstdint>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "bench/AccountFiles.h"
#include "bench/OwnAccounts.h"
#include "bench/Processes.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/linux/LinuxPlatform.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

/// In a process of its own: fails unless the list has that many users.
int listUsers(std::uint64_t count) {
  Platform::install(std::make_shared<LinuxPlatform>(LinuxOptions(), std::string("user-list")));
  const auto list = UserAccess::sharedUserAccess()->visibleUsersList();
  // The process ends with its memory as it is, as getent and every login screen do.
  _exit(list && list->count() == count ? 0 : 1);
}

/// The same of LightDM's list (lightdm/user.h); the result is not compared, since LightDM goes by
/// its own /etc/lightdm/users.conf.
int listUsersOfLightDM(int count) {
  void* library = dlopen("liblightdm-gobject-1.so.0", RTLD_NOW);
  if (library == nullptr) return 1;
  using GetInstance = void* (*)();
  using GetLength = int (*)(void*);
  const auto getInstance =
      reinterpret_cast<GetInstance>(dlsym(library, "lightdm_user_list_get_instance"));
  const auto getLength =
      reinterpret_cast<GetLength>(dlsym(library, "lightdm_user_list_get_length"));
  const int length = getLength(getInstance());
  std::fprintf(stderr, "user-list: LightDM lists %d of %d\n", length, count);
  _exit(length > 0 ? 0 : 1);
}

/// The medians of some runs.
Spent medians(const Command& command, int runs) {
  std::vector<double> milliseconds;
  std::vector<double> processor;
  std::vector<double> megabytes;
  for (int run = 0; run < runs; ++run) {
    const auto one = spent(command);
    milliseconds.push_back(one.milliseconds);
    processor.push_back(one.processorMilliseconds);
    megabytes.push_back(one.megabytes);
  }
  return {median(milliseconds), median(processor), median(megabytes)};
}

void print(const char* name, const char* whose, const Spent& spent, int runs) {
  // The processor's time tells how far a machine that has other things to do can be believed.
  std::printf("%s: %s %.1f ms, of the processor's %.1f ms, %.0f MB (medians of %d)\n", name, whose,
              spent.milliseconds, spent.processorMilliseconds, spent.megabytes, runs);
}

void compare(const char* name, const Command& ours, const Command& theirs, int runs, double aim) {
  const auto our = medians(ours, runs);
  const auto their = medians(theirs, runs);
  print(name, "ours", our, runs);
  print(name, "theirs", their, runs);
  std::printf("%s ratio %.3f aim %.2f\n", name, our.milliseconds / their.milliseconds, aim);
}

/// The time for an account when an access list admits every second one, in microseconds.
double withAccessList(const std::filesystem::path& folder, const std::string& program, int count) {
  constexpr int kRuns = 9;
  writeAccounts(folder, count);
  {
    std::ofstream group(folder / "group", std::ios::app);
    group << "gatehall-access:x:900:user0";
    for (int number = 2; number < count; number += 2) group << ",user" << number;
    group << "\n";
  }
  const auto spent = medians({program, "list", std::to_string(count / 2)}, kRuns);
  const auto accounts = std::to_string(count) + " accounts";
  print("user-list-with-access-list", accounts.c_str(), spent, kRuns);
  return spent.milliseconds * 1000 / count;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view task = argc == 3 ? argv[1] : "";
  if (task == "list") return listUsers(std::stoull(argv[2]));
  if (task == "lightdm") return listUsersOfLightDM(std::stoi(argv[2]));

  // No system bus: nobody answers there, and nobody asks AccountsService.
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  const OwnAccounts accounts;
  const auto program = std::filesystem::canonical(argv[0]).string();
  const auto ours = [&](int count) { return Command{program, "list", std::to_string(count)}; };

  for (const int count : {1000, 10000, 100000, 1000000}) {
    writeAccounts(accounts.folder(), count);
    const auto taken = medians(ours(count), count < 100000 ? 9 : 3);
    std::printf("user-list: %.1f ms and %.0f MB for %d users, %.2f us a user\n", taken.milliseconds,
                taken.megabytes, count, taken.milliseconds * 1000 / count);
  }
  const double ofFew = withAccessList(accounts.folder(), program, 10000);
  const double ofMany = withAccessList(accounts.folder(), program, 70000);
  std::printf("user-list-with-access-list ratio %.2f aim 1.5\n", ofMany / ofFew);
  writeAccounts(accounts.folder(), 10000);
  compare("user-list-against-lightdm", ours(10000), {program, "lightdm", "10000"}, 3, 0.05);
  writeAccounts(accounts.folder(), 70000);
  compare("user-list", ours(70000), {"/usr/bin/getent", "-s", "files", "passwd"}, 9, 5.0);
  return 0;
}
