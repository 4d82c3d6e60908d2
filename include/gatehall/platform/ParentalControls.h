#pragma once

#include <cstdint>
#include <optional>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// Limits on when a managed account may log in. From any thread; ends within the host's time limit.
class GATEHALL_EXPORT ParentalControls {
 public:
  virtual ~ParentalControls() = default;

  /// True when the user may log in now. A refusal stores the service's code in result (meaningful
  /// only then; what it means is the service's own). nextCurfew becomes the next moment at which
  /// the answer changes, absent if the service knows none. May raise PlatformException.
  virtual bool mayLogInNow(std::uint32_t userID, std::int32_t& result,
                           std::optional<Date>& nextCurfew) = 0;
};

}  // namespace gatehall
