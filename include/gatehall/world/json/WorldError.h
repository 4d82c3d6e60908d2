#pragma once

#include <stdexcept>

#include "gatehall/base/Export.h"

namespace gatehall {

/// A world file that can't be read or is wrong somewhere. The message names the file, the line and
/// column, and the path of keys (RFC 6901) of what is wrong.
class GATEHALL_EXPORT WorldError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace gatehall
