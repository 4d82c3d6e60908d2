#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>

#include "linux/loop/MainLoop.h"

namespace gatehall::service {

/// What is to be done for whom, on a loop: of one user id in its order, and user ids take turns, so
/// that who wants much delays others by one turn each, and none what comes in meanwhile. On the
/// loop's thread; goes after the loop has run.
class Turns {
 public:
  explicit Turns(MainLoop& loop) : mLoop(loop) {}

  void add(std::uint32_t userID, std::function<void()> turn);

 private:
  void takeNext();

  MainLoop& mLoop;
  std::map<std::uint32_t, std::deque<std::function<void()>>> mWaiting;
  std::uint32_t mLast = 0;
};

}  // namespace gatehall::service
