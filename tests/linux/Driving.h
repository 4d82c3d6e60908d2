#pragma once

#include <chrono>
#include <functional>
#include <poll.h>

#include "gatehall/linux/loop/LinuxRunLoop.h"
#include "tests/Patience.h"

namespace gatehall {

/// Whether the loop says in time that it has something to do.
inline bool hasSomethingToDo(LinuxRunLoop& loop) {
  pollfd event{loop.descriptor(), POLLIN, 0};
  return poll(&event, 1, kPatienceMilliseconds) > 0;
}

/// Drives the loop as a program with a loop of its own does, until the condition holds; false when
/// it does not in time. It may come true beside the loop, too.
inline bool driveUntil(LinuxRunLoop& loop, const std::function<bool()>& condition) {
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    pollfd event{loop.descriptor(), POLLIN, 0};
    poll(&event, 1, 5);
    loop.dispatch();
  }
  return true;
}

/// Drives the loop for that time.
inline void driveFor(LinuxRunLoop& loop, double seconds) {
  bool isOver = false;
  loop.performAfterDelay(seconds, [&] { isOver = true; });
  driveUntil(loop, [&] { return isOver; });
}

}  // namespace gatehall
