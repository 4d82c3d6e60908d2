#pragma once

#include <cstdint>

#include "gatehall/base/Export.h"

namespace gatehall {

/// The process that the layer runs in.
class GATEHALL_EXPORT Process {
 public:
  virtual ~Process() = default;

  /// The effective user id (geteuid(2)). From any thread.
  virtual std::uint32_t effectiveUserID() = 0;

  /// Gives up for good what the process can have done beyond its caller's rights, by itself or by a
  /// process of its own that answers for it, such as reading passwords. Whoever acts for the caller
  /// calls it once nothing more needs them; what does then is refused. A process without such
  /// rights has nothing to give up. From the main thread.
  virtual void giveUpRights() {}
};

}  // namespace gatehall
