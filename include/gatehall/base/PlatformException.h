#pragma once

#include <stdexcept>
#include <string>

#include "gatehall/base/Export.h"

namespace gatehall {

/// The one exception type that the host's services raise and that the layer catches, and only where
/// an operation's contract says so. Any other exception passes through the layer untouched.
class GATEHALL_EXPORT PlatformException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace gatehall
