#pragma once

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// The time of day. From any thread.
class GATEHALL_EXPORT Clock {
 public:
  virtual ~Clock() = default;
  virtual Date now() = 0;
};

}  // namespace gatehall
