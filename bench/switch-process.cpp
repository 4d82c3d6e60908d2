// The whole of one gatehall-switch process against getent(1) looking up the same user id, the last
// of 70,000 in /etc/passwd and /etc/shadow. Both run in a mount namespace of their own, in which
// these files are the benchmark's. Needs root.

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/OwnAccounts.h"
#include "bench/Processes.h"

namespace {

using namespace gatehall::bench;

constexpr int kAccounts = 70000;
constexpr int kFirstUserID = 10000;
constexpr int kRuns = 41;

void writeAccounts(const std::filesystem::path& folder, const std::string& lastHash) {
  std::ofstream passwd(folder / "passwd");
  std::ofstream shadow(folder / "shadow");
  std::ofstream group(folder / "group");
  passwd << "root:x:0:0:root:/root:/bin/bash\n";
  shadow << "root:*:19000:0:99999:7:::\n";
  group << "root:x:0:\nsudo:x:27:\ngatehall-access:x:900:user1\n";
  for (int i = 0; i < kAccounts - 1; ++i) {
    const auto name = "user" + std::to_string(i);
    const bool last = i == kAccounts - 2;
    passwd << name << ":x:" << kFirstUserID + i << ":100:Person Number " << i << ",,,:/home/"
           << name << ":/bin/bash\n";
    shadow << name << ':' << (last ? lastHash : "$y$j9T$oQ0oQ0oQ0oQ0oQ0o$" + std::string(43, 'x'))
           << ":19000:0:99999:7:::\n";
  }
}

}  // namespace

int main() {
  const OwnAccounts accounts;
  writeAccounts(accounts.folder(), "");

  const auto last = std::to_string(kFirstUserID + kAccounts - 2);
  const Command getent = {"/usr/bin/getent", "-s", "files", "passwd", last};
  const Command ours = {programs() / "gatehall-switch", "-switchToUserID", last};
  // Refused: the user is found, and is not in the service access list.
  reportProcesses("switch-process-refused", processesInTurns(kRuns, ours, getent), "getent", 0.9,
                  1.2);
  // Admitted, without a password: the login service is asked too, in vain on a machine without a
  // system bus.
  std::ofstream(accounts.folder() / "group") << "root:x:0:\nsudo:x:27:\n";
  reportProcesses("switch-process", processesInTurns(kRuns, ours, getent), "getent", 1.0, 1.6);
  return 0;
}
