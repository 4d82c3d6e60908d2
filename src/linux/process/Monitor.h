#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <sys/types.h>

#include "linux/process/MonitorMessage.h"

namespace gatehall {

/// A child process that keeps the extra group, and answers for a program that has given it up. The
/// child holds one end of a socket and nothing else that is open, can neither be traced nor gain
/// rights, and ends with the program, and after a minute whatever happens.
///
/// The program believes an answer that comes whole and in time. The first that doesn't ends the
/// child, and nothing is asked any more.
class Monitor {
 public:
  /// Answers a question, in the child. What it raises ends the child.
  using Answerer = void (*)(const MonitorMessage& question, MonitorMessage& answer);

  /// How long an answer may take: a hash may be made to be slow.
  static constexpr std::chrono::seconds kLongestAnswer{10};

  /// For a set-group-id program, before it reads anything: starts the process's monitor and gives
  /// the extra group up for good, the latter in any case. A process without such a group has no
  /// monitor. False when there can be no child. Ends the process when the group can't be given up.
  static bool begin(Answerer answerer);

  /// nullptr when the process has none, and may read what its caller may.
  static Monitor* ofProcess();

  /// A child of its own that answers. Raises PlatformException when there can be none.
  explicit Monitor(Answerer answerer, std::chrono::milliseconds longestAnswer = kLongestAnswer);
  ~Monitor();
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  /// From any thread. Raises PlatformException without an answer.
  MonitorMessage ask(const MonitorMessage& question);

  /// Ends the child. Raises nothing.
  void end();

  pid_t child() const { return mChild; }

 private:
  MonitorMessage exchange(const MonitorMessage& question) const;
  void stop();

  const std::chrono::milliseconds mLongestAnswer;
  std::mutex mMutex;
  int mSocket = -1;
  pid_t mChild = -1;
};

}  // namespace gatehall
