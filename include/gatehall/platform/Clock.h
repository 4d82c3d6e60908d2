#pragma once

#include "gatehall/base/Value.h"

namespace gatehall {

/// The time of day. From any thread.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual Date now() = 0;
};

}  // namespace gatehall
