#pragma once

#include <chrono>

#include "gatehall/platform/Clock.h"

namespace gatehall {

class LinuxClock final : public Clock {
 public:
  Date now() override { return std::chrono::system_clock::now(); }
};

}  // namespace gatehall
