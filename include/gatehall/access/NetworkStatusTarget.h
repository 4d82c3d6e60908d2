#pragma once

#include "gatehall/base/Export.h"

namespace gatehall {

/// What NetworkStatus tells.
class GATEHALL_EXPORT NetworkStatusTarget {
 public:
  virtual ~NetworkStatusTarget() = default;

  /// NetworkStatus::networkStatus has another value. On the main thread; the measuring thread waits
  /// meanwhile, so it must not be waited for.
  virtual void networkStatusChanged() = 0;
};

}  // namespace gatehall
