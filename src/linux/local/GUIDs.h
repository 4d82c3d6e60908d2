#pragma once

#include <unordered_set>

#include "linux/accounts/MachineGUIDs.h"
#include "linux/records/MatchValues.h"

namespace gatehall::local {

using GUIDSet = std::unordered_set<UUIDBytes, GUIDHash>;

/// Those of a query's values that can be made of the machine id, spelled as records spell them.
GUIDSet localGUIDs(const MatchValues& values);

}  // namespace gatehall::local
