#pragma once

#include <cstddef>
#include <cstring>
#include <unordered_set>

#include "platform/linux/MatchValues.h"
#include "platform/portable/NameBasedUUID.h"

namespace gatehall {

struct GUIDHash {
  /// A name-based UUID is a hash already.
  std::size_t operator()(const UUIDBytes& guid) const {
    std::size_t part = 0;
    std::memcpy(&part, guid.data(), sizeof part);
    return part;
  }
};

using GUIDSet = std::unordered_set<UUIDBytes, GUIDHash>;

/// Those of a query's values that can be made of the machine id, spelled as records spell them.
GUIDSet localGUIDs(const MatchValues& values);

}  // namespace gatehall
