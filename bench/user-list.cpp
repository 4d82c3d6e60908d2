// The first complete list of users to show, sorted, of the accounts in /etc/passwd: the whole of
// one process against getent(1) reading all of 70,000, and against LightDM's library listing 10,000
// (without AccountsService, so that both read the same file). Then how the time for an account
// grows from 10,000 to 70,000 when an access list admits every second one. All run in a mount
// namespace of their own, in which the account files are the benchmark's. Needs root.

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/AccountFiles.h"
#include "bench/ListProcess.h"
#include "bench/OwnAccounts.h"

namespace {

using namespace gatehall::bench;

constexpr int kRuns = 9;

/// The time for an account when an access list admits every second one, in microseconds.
double withAccessList(const std::filesystem::path& folder, int count) {
  writeAccounts(folder, count);
  {
    std::ofstream group(folder / "group", std::ios::app);
    group << "gatehall-access:x:900:user0";
    for (int number = 2; number < count; number += 2) group << ",user" << number;
    group << "\n";
  }
  return spent(ourList(count / 2)).milliseconds * 1000 / count;
}

}  // namespace

int main(int argc, char** argv) {
  if (const auto status = listProcess(argc, argv)) return *status;

  // No system bus: nobody answers there, and nobody asks AccountsService.
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  const OwnAccounts accounts;
  writeAccounts(accounts.folder(), 70000);
  reportProcesses("user-list", processesInTurns(kRuns, ourList(70000), getent()), "getent", 8.0);
  writeAccounts(accounts.folder(), 10000);
  reportProcesses("user-list-against-lightdm",
                  processesInTurns(5, ourList(10000), listOfLightDM(10000)), "LightDM's list",
                  0.03);
  const auto ofEach = inTurns(
      kRuns, [&] { return withAccessList(accounts.folder(), 70000); },
      [&] { return withAccessList(accounts.folder(), 10000); });
  report({.name = "user-list-with-access-list",
          .unit = "µs an account",
          .ours = ofEach.ours,
          .theirs = ofEach.theirs,
          .peer = "10,000 accounts",
          .aim = 1.5});
  return 0;
}
