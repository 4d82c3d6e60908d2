#pragma once

#include <chrono>

namespace gatehall {

/// Whether what is on the screen has stood long enough to be meant by a click: nobody stops a
/// finger that is on its way.
class Stillness {
 public:
  using Time = std::chrono::steady_clock::time_point;

  void end(Time now) { mEnded = now; }
  bool isThere(Time now) const { return now - mEnded >= kLeast; }

 private:
  static constexpr std::chrono::milliseconds kLeast{200};
  Time mEnded{};
};

}  // namespace gatehall
