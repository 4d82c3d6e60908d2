#pragma once

#include "platform/DirectoryService.h"

namespace gatehall {

/// A node of a network directory, behind the local ones on the search path.
class NetworkNode : public DirectoryNode {
 public:
  /// Whether the directory can be reached now. From any thread; raises nothing.
  virtual bool isReachable() = 0;
};

}  // namespace gatehall
