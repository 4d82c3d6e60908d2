// How the first complete list of users to show grows with the accounts in /etc/passwd, from 1,000
// to 1,000,000: the time of the whole process for an account, and its memory, beside getent(1),
// which reads the same file, and LightDM's library as far as 10,000, whose time grows with the
// square. All run in a mount namespace of their own, in which the account files are the
// benchmark's. Needs root.

#include <string>

#include "bench/AccountFiles.h"
#include "bench/ListProcess.h"
#include "bench/OwnAccounts.h"

namespace {

using namespace gatehall::bench;

constexpr int kRuns = 5;
constexpr int kMost = 1000000;

/// Reports the time for an account and the memory at that many, two points of the curves.
void reportPoint(const std::string& name, int count, const Turns<Spent>& taken,
                 const std::string& peer) {
  const auto forAnAccount = [count](std::vector<double> milliseconds) {
    for (auto& time : milliseconds) time *= 1e3 / count;
    return milliseconds;
  };
  report({.name = name,
          .unit = "µs an account",
          .ours = forAnAccount(each(taken.ours, &Spent::milliseconds)),
          .theirs = forAnAccount(each(taken.theirs, &Spent::milliseconds)),
          .peer = peer,
          .curve = "Time of the first list",
          .accounts = count});
  report({.name = name + "-memory",
          .unit = "MB",
          .ours = each(taken.ours, &Spent::megabytes),
          .theirs = each(taken.theirs, &Spent::megabytes),
          .peer = peer,
          .curve = "Memory of its process",
          .accounts = count});
}

/// From the most accounts and from 10,000, in turns: the time for an account, by the clock and of
/// the processor, and the memory for one.
void reportGrowth(const std::filesystem::path& folder) {
  const auto listOf = [&](int count) {
    writeAccounts(folder, count);
    auto taken = spent(ourList(count));
    taken.milliseconds *= 1e3 / count;
    taken.processorMilliseconds *= 1e3 / count;
    return taken;
  };
  const auto taken = inTurns(
      kRuns, [&] { return listOf(kMost); }, [&] { return listOf(10000); });
  const std::string unit = "µs an account";
  report("growth", unit, taken, &Spent::milliseconds, "10,000 accounts", 1.5);
  report("growth-processor", unit, taken, &Spent::processorMilliseconds, "10,000 accounts", 1.5);
  auto bytes = each(taken.ours, &Spent::megabytes);
  for (auto& memory : bytes) memory *= 1024.0 * 1024.0 / kMost;
  report({.name = "growth-memory", .unit = "bytes an account", .ours = bytes, .aim = 700});
}

}  // namespace

int main(int argc, char** argv) {
  if (const auto status = listProcess(argc, argv)) return *status;

  // No system bus: nobody answers there, and nobody asks AccountsService.
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  const OwnAccounts accounts;
  for (const int count : {1000, 10000, 100000, kMost}) {
    writeAccounts(accounts.folder(), count);
    const auto name = "growth-" + std::to_string(count);
    reportPoint(name, count, processesInTurns(kRuns, ourList(count), getent()), "getent");
    if (count > 10000) continue;
    reportPoint(name + "-against-lightdm", count,
                processesInTurns(kRuns, ourList(count), listOfLightDM(count)), "LightDM's list");
  }
  reportGrowth(accounts.folder());
  return 0;
}
