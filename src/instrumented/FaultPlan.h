#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

#include "instrumented/CallFacts.h"
#include "instrumented/Fault.h"

namespace gatehall {

/// The faults of a host: counts the calls that each one is about and says which calls fail. From
/// any thread.
class FaultPlan {
 public:
  /// Raises std::invalid_argument for a fault whose operation is unknown.
  explicit FaultPlan(std::vector<Fault> faults);

  /// Whether any fault is about the operation.
  bool concerns(std::string_view operation) const;

  /// Counts one call. Raises what a fault says to raise; true when the call is to answer nothing,
  /// false when it is to be performed. Of several faults that hit the call the first one decides.
  bool failsByAnsweringNothing(std::string_view operation, const CallFacts& facts);

 private:
  struct Entry {
    Fault fault;
    std::uint64_t calls = 0;  ///< that matched so far
  };

  std::mutex mMutex;  ///< guards the counts
  std::vector<Entry> mEntries;
};

}  // namespace gatehall
