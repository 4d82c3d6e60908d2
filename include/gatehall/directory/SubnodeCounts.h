#pragma once

#include <cstdint>

#include "gatehall/base/Export.h"

namespace gatehall {

/// How many nodes the search node covers, and how many of them can be reached.
struct GATEHALL_EXPORT SubnodeCounts {
  std::uint64_t total = 0;
  std::uint64_t reachable = 0;
};

/// Fills the record (nullptr: does nothing). After a failure of the directory the total is as far
/// as it was taken, reachable is 0, and nothing is logged.
GATEHALL_EXPORT void subnodeCounts(SubnodeCounts* counts);

}  // namespace gatehall
