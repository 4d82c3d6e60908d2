#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <sys/types.h>

namespace gatehall {

/// A system call of the tool or of its monitor, about to be made.
struct SystemCall {
  pid_t process = 0;
  bool isMonitors = false;
  std::uint64_t number = 0;
  std::array<std::uint64_t, 6> arguments{};

  /// The text that an argument points to; empty when it can't be read.
  std::string text(std::size_t argument) const;
};

/// Follows the tool from its start to its end, with the processes that it makes (ptrace(2)). Traced
/// by root, a set-group-id program keeps its rights.
class Tracer {
 public:
  /// Called before each system call; may send the process signals.
  using Visit = std::function<void(const SystemCall&)>;

  explicit Tracer(Visit visit, bool continuesStopped = true)
      : mVisit(std::move(visit)), mContinuesStopped(continuesStopped) {}

  /// For Machine::trace.
  int follow(pid_t tool);

 private:
  void handle(pid_t process, int status);
  void visit(pid_t process);

  const Visit mVisit;
  const bool mContinuesStopped;
  std::set<pid_t> mTraced;
  std::set<pid_t> mMonitors;
  bool mIsTool = false;
};

}  // namespace gatehall
