#pragma once

#include <cstdint>

namespace gatehall {

/// The process that the layer runs in.
class Process {
 public:
  virtual ~Process() = default;

  /// The effective user id (geteuid(2)). From any thread.
  virtual std::uint32_t effectiveUserID() = 0;
};

}  // namespace gatehall
