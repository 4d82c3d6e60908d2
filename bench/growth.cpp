// How the first complete list of users to show grows with the accounts in /etc/passwd, from 1,000
// to 1,000,000: the time of the whole process for an account, by the clock and of the processor,
// and its memory, beside getent(1), which reads the same file, and LightDM's library as far as
// 10,000, whose time grows with the square. All run in a mount namespace of their own, in which the
// account files are the benchmark's. Needs root.

#include <string>

#include "bench/AccountFiles.h"
#include "bench/ListProcess.h"
#include "bench/OwnAccounts.h"

namespace {

using namespace gatehall::bench;

constexpr int kRuns = 5;
constexpr int kMost = 1000000;

/// Reports the times for an account and the memory at that many, points of the three curves.
void reportPoint(const std::string& name, int count, const Command& theirs,
                 const std::string& peer) {
  const auto taken = processesInTurns(kRuns, ourList(count), theirs);
  const auto reportOne = [&](const char* what, const char* curve, const char* unit,
                             double Spent::*quantity, double scale) {
    const auto scaled = [&](const std::vector<Spent>& processes) {
      auto values = each(processes, quantity);
      for (auto& value : values) value *= scale;
      return values;
    };
    report({.name = name + what,
            .unit = unit,
            .ours = scaled(taken.ours),
            .theirs = scaled(taken.theirs),
            .peer = peer,
            .curve = curve,
            .accounts = count});
  };
  const double forAnAccount = 1e3 / count;
  reportOne("", "First list: time by the clock", "µs an account", &Spent::milliseconds,
            forAnAccount);
  reportOne("-processor", "First list: processor time", "µs an account",
            &Spent::processorMilliseconds, forAnAccount);
  reportOne("-memory", "First list: memory", "MB", &Spent::megabytes, 1);
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
    reportPoint("growth-" + std::to_string(count), count, getent(), "getent");
  }
  reportGrowth(accounts.folder());
  for (const int count : {1000, 10000}) {
    writeAccounts(accounts.folder(), count);
    reportPoint("growth-" + std::to_string(count) + "-against-lightdm", count, listOfLightDM(count),
                "LightDM's list");
  }
  return 0;
}
