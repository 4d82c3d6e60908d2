// The whole of one gatehall-switch process against getent(1) looking up the same user id, the last
// of 70,000 in /etc/passwd and /etc/shadow. Both run in a mount namespace of their own, in which
// these files are the benchmark's. Needs root.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <spawn.h>
#include <string>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Command = std::vector<std::string>;

constexpr int kAccounts = 70000;
constexpr int kFirstUserID = 10000;
constexpr int kRuns = 41;

[[noreturn]] void fail(const std::string& what) {
  std::perror(what.c_str());
  std::exit(1);
}

std::vector<char*> arguments(const Command& command) {
  std::vector<char*> words;
  for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  return words;
}

double wallMilliseconds(const Command& command) {
  auto words = arguments(command);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  if (posix_spawn(&child, words[0], &quiet, nullptr, words.data(), environ) != 0) fail(command[0]);
  int status = 0;
  waitpid(child, &status, 0);
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  posix_spawn_file_actions_destroy(&quiet);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) fail(command[0] + " failed");
  return taken.count();
}

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

double median(std::vector<double> samples) {
  std::sort(samples.begin(), samples.end());
  return samples[samples.size() / 2];
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
  auto folderTemplate = (std::filesystem::temp_directory_path() / "gatehall-bench-XXXXXX").string();
  const std::filesystem::path folder = mkdtemp(folderTemplate.data());

  if (unshare(CLONE_NEWNS) != 0) fail("unshare");
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) fail("mount");
  writeAccounts(folder, "");
  for (const char* name : {"passwd", "shadow", "group"}) {
    const auto target = std::string("/etc/") + name;
    if (mount((folder / name).c_str(), target.c_str(), nullptr, MS_BIND, nullptr) != 0) {
      fail("mount " + target);
    }
  }

  const auto last = std::to_string(kFirstUserID + kAccounts - 2);
  const Command getent = {"/usr/bin/getent", "-s", "files", "passwd", last};
  const Command ours = {programs / "gatehall-switch", "-switchToUserID", last};
  // Refused: the user is found, and is not in the service access list.
  compare("switch-process-refused", ours, getent);
  // Admitted, without a password: the login service is asked too, in vain on a machine without a
  // system bus.
  std::ofstream(folder / "group") << "root:x:0:\nsudo:x:27:\n";
  compare("switch-process", ours, getent);

  for (const char* name : {"passwd", "shadow", "group"}) {
    umount2((std::string("/etc/") + name).c_str(), MNT_DETACH);
  }
  std::filesystem::remove_all(folder);
  return 0;
}
