#pragma once

#include <atomic>

#include "gatehall/platform/Clock.h"

namespace gatehall {

/// A world's time of day. It moves only when told, backwards too. From any thread.
class WorldClock final : public Clock {
 public:
  /// What a world's clock shows that nobody set: 2026-01-01 00:00 UTC.
  static constexpr Date kStart{std::chrono::sys_days(std::chrono::year(2026) / 1 / 1)};

  Date now() override { return mNow; }
  void set(Date date) { mNow = date; }

 private:
  std::atomic<Date> mNow{kStart};
};

}  // namespace gatehall
