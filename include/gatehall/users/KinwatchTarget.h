#pragma once

#include <optional>
#include <string_view>

#include "gatehall/base/Export.h"

namespace gatehall {

/// What KinwatchMonitor tells.
class GATEHALL_EXPORT KinwatchTarget {
 public:
  virtual ~KinwatchTarget() = default;

  /// The parental-controls state of the user with this short name changed; without a name, that of
  /// any user. Called under the monitor's lock: it must not call the monitor, nor make or destroy a
  /// target.
  virtual void userStatusChanged(std::optional<std::string_view> name) = 0;
};

}  // namespace gatehall
