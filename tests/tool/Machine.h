#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall {

/// What a run of gatehall-switch came to.
struct ToolRun {
  int exitStatus = -1;  ///< -1: ended by a signal
  std::string output;   ///< standard output and error together
  std::vector<std::string> log;
  std::vector<std::string> decisions;  ///< what the log says of facility AUTHPRIV
  std::chrono::duration<double> taken{};
};

/// Who runs the tool, and how.
struct Caller {
  uid_t userID = 0;
  /// Its very first argument; without one the argument vector is empty.
  std::vector<std::string> name{"gatehall-switch"};
  std::vector<std::string> environment{};
  bool closesStandardDescriptors = false;
  /// Where it stands; empty: where the test does.
  std::string folder{};
  /// How many descriptors are free below the limit of 64, if that is to be so: the others are open.
  std::optional<int> freeDescriptors{};
  /// Soft and hard limit each, by resource (getrlimit(2)).
  std::vector<std::pair<int, std::uint64_t>> limits{};
};

/// A machine for the real gatehall-switch, made of a mount namespace of its own: accounts ann
/// (1000), bob (1001, without a password) and carol (1002, with one), ann's session at the console,
/// a bus and a system log that the test reads. The tool there is the one that was built, owned by
/// root and set-group-id to the group shadow. Needs root.
class Machine {
 public:
  Machine();
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  /// The system bus; tests put services on it.
  PrivateBus bus;
  /// Without one there is no socket where the system bus would be.
  bool hasBus = true;
  /// A file below /etc that root can open and nobody can read.
  std::string brokenFile;

  /// Replaces a file below /etc, and its owner reads it only if it is private.
  void write(const std::string& name, const std::string& content) const;
  void add(const std::string& name, const std::string& content) const;
  void remove(const std::string& name) const;
  /// Has only the file's owner and the group of /etc/shadow read it.
  void shareWithShadow(const std::string& name) const;

  /// Runs the tool under a tracer, which is given the process, stopped just before it becomes the
  /// tool, and answers the status that it ended with.
  ToolRun trace(const std::vector<std::string>& words, const Caller& caller,
                const std::function<int(pid_t)>& tracer);

  /// Runs the tool to its end. Meanwhile, as long as it runs, `watch` is called with its process id
  /// over and over.
  ToolRun run(const std::vector<std::string>& words, const Caller& caller = {},
              const std::function<void(pid_t)>& watch = {});

 private:
  ToolRun runUntil(const std::vector<std::string>& words, const Caller& caller, bool isStopped,
                   const std::function<int(pid_t)>& wait);
  void enter() const;
  void takeLog(ToolRun& run) const;

  std::filesystem::path mFolder;
  int mLogSocket = -1;
};

}  // namespace gatehall
