// The whole of one gatehall-switch process against getent(1) looking up the same user id, the last
// of 70,000 in /etc/passwd and /etc/shadow. Both run in a mount namespace of their own, in which
// these files are the benchmark's. Needs root.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/ptrace.h>
#include <vector>

#include "bench/OwnAccounts.h"
#include "bench/Processes.h"

namespace {

using namespace gatehall::bench;

constexpr int kAccounts = 70000;
constexpr int kFirstUserID = 10000;
constexpr int kRuns = 41;

/// The process's own high-water mark, read while it stands at its exit: what wait4(2) reports would
/// count the memory of this benchmark's fork as well.
long peakKilobytes(const Command& command) {
  auto words = arguments(command);
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    execv(words[0], words.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT);
  long peak = 0;
  while (true) {
    ptrace(PTRACE_CONT, child, nullptr, nullptr);
    if (waitpid(child, &status, 0) < 0 || WIFEXITED(status) || WIFSIGNALED(status)) break;
    if (status >> 8 != (SIGTRAP | (PTRACE_EVENT_EXIT << 8))) continue;
    std::ifstream file("/proc/" + std::to_string(child) + "/status");
    for (std::string line; std::getline(file, line);) {
      if (line.rfind("VmHWM:", 0) == 0) peak = std::atol(line.c_str() + 6);
    }
  }
  return peak;
}

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

void compare(const std::string& name, const Command& ours, const Command& theirs) {
  std::vector<double> ourTimes;
  std::vector<double> theirTimes;
  std::vector<double> ourPeaks;
  std::vector<double> theirPeaks;
  for (int run = 0; run < kRuns; ++run) {
    ourTimes.push_back(wallMilliseconds(ours));
    theirTimes.push_back(wallMilliseconds(theirs));
  }
  for (int run = 0; run < 5; ++run) {
    ourPeaks.push_back(static_cast<double>(peakKilobytes(ours)));
    theirPeaks.push_back(static_cast<double>(peakKilobytes(theirs)));
  }
  std::printf("%s: gatehall-switch %.2f ms, %.0f KB; getent %.2f ms, %.0f KB (medians of %d)\n",
              name.c_str(), median(ourTimes), median(ourPeaks), median(theirTimes),
              median(theirPeaks), kRuns);
  std::printf("%s-memory ratio %.2f aim 1.0\n", name.c_str(),
              median(ourPeaks) / median(theirPeaks));
  std::printf("%s ratio %.2f aim 1.0\n", name.c_str(), median(ourTimes) / median(theirTimes));
}

}  // namespace

int main(int, char** argv) {
  const auto programs = std::filesystem::canonical(argv[0]).parent_path();
  const OwnAccounts accounts;
  writeAccounts(accounts.folder(), "");

  const auto last = std::to_string(kFirstUserID + kAccounts - 2);
  const Command getent = {"/usr/bin/getent", "-s", "files", "passwd", last};
  const Command ours = {programs / "gatehall-switch", "-switchToUserID", last};
  // Refused: the user is found, and is not in the service access list.
  compare("switch-process-refused", ours, getent);
  // Admitted, without a password: the login service is asked too, in vain on a machine without a
  // system bus.
  std::ofstream(accounts.folder() / "group") << "root:x:0:\nsudo:x:27:\n";
  compare("switch-process", ours, getent);
  return 0;
}
