// How long the main loop stands at most while the list of 70,000 users is dropped, built anew on
// its own thread and announced, after a change of the account file; the aim is 5 ms. And what a
// thousand changes in a second cost: rebuilds and processor time.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <poll.h>
#include <string>
#include <sys/resource.h>
#include <thread>

#include "bench/AccountFiles.h"
#include "bench/Processes.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/NotificationNames.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;
using SteadyClock = std::chrono::steady_clock;

double millisecondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count();
}

class Target final : public UserAccessTarget {
 public:
  void visibleUsersListChanged() override { ++told; }
  int told = 0;
};

/// A machine whose account files are in a folder, installed, and a host on it that shows the list.
class Machine {
 public:
  explicit Machine(int users) {
    auto name = (std::filesystem::temp_directory_path() / "gatehall-bench-XXXXXX").string();
    mRoot = mkdtemp(name.data());
    LinuxOptions options;
    options.setRoot(mRoot);
    options.setSystemBusAddress("unix:path=/nonexistent");
    std::filesystem::create_directory(etc());
    std::filesystem::copy_file("/etc/shells", etc() / "shells");
    std::filesystem::copy_file("/etc/machine-id", etc() / "machine-id");
    writeAccounts(etc(), users);
    mHost = std::make_shared<LinuxPlatform>(options, "rebuild");
    Platform::install(mHost);
    mHost->runLoop().descriptor();
    access()->visibleUsersList();
    access()->addTarget(target);
  }
  ~Machine() {
    Platform::install(nullptr);
    mHost.reset();
    std::filesystem::remove_all(mRoot);
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  std::filesystem::path etc() const { return std::filesystem::path(mRoot) / "etc"; }
  static std::shared_ptr<UserAccess> access() { return UserAccess::sharedUserAccess(); }

  /// Runs the main loop for that long, or until the target was told that often; answers for how
  /// long it stood in one go at most, in milliseconds.
  double run(double milliseconds, int told = 0) {
    auto& runLoop = mHost->runLoop();
    const auto start = SteadyClock::now();
    double longest = 0;
    while (millisecondsSince(start) < milliseconds && (told == 0 || target->told < told)) {
      pollfd wait{runLoop.descriptor(), POLLIN, 0};
      poll(&wait, 1, 1);
      const auto before = SteadyClock::now();
      runLoop.dispatch();
      longest = std::max(longest, millisecondsSince(before));
    }
    return longest;
  }

  const std::shared_ptr<Target> target = std::make_shared<Target>();

 private:
  std::string mRoot;
  std::shared_ptr<LinuxPlatform> mHost;
};

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void manyChanges(int users) {
  Machine machine(users);
  const auto before = processorSeconds();
  double longest = 0;
  for (int change = 0; change < 1000; ++change) {
    Machine::access()->handleUserChangeNotification(
        {std::string(kUserWasAddedNotification), std::nullopt});
    longest = std::max(longest, machine.run(1));
  }
  longest = std::max(longest, machine.run(5000));
  const auto report = [users](const char* what, const char* unit, double measured) {
    bench::report({.name = "rebuild-" + std::string(what) + "-" + std::to_string(users),
                   .unit = unit,
                   .ours = {measured}});
  };
  report("lists", "lists", machine.target->told);
  report("processor", "s", processorSeconds() - before);
  report("stands", "ms", longest);
}

/// How long the main loop stands at most, in milliseconds, after each of some changes.
std::vector<double> longestStalls() {
  constexpr int kChanges = 9;
  Machine machine(70000);
  std::vector<double> stalls;
  for (int round = 1; round <= kChanges; ++round) {
    std::ofstream(machine.etc() / "passwd", std::ios::app)
        << "new" << round << ":x:" << round << ":100:New::/bin/bash\n";
    stalls.push_back(machine.run(60000, round));
    if (machine.target->told < round) fail("no rebuild");
  }
  return stalls;
}

}  // namespace

int main() {
  manyChanges(100);
  manyChanges(70000);
  report({.name = "rebuild", .unit = "ms", .ours = longestStalls(), .aim = 5.0});
  return 0;
}
