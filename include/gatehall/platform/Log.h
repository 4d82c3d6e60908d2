#pragma once

#include <string_view>

#include "gatehall/base/Export.h"

namespace gatehall {

/// Where messages go. From any thread. Raises nothing, and never interprets the text.
class GATEHALL_EXPORT Log {
 public:
  virtual ~Log() = default;

  /// One message to the system log, at level error (3), whole and as it stands.
  virtual void error(std::string_view text) = 0;

  /// One message to the host's general diagnostic log.
  virtual void diagnostic(std::string_view text) = 0;
};

}  // namespace gatehall
