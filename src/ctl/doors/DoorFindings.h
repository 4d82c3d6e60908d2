#pragma once

#include <optional>
#include <vector>

#include "ctl/doors/DoorState.h"
#include "ctl/print/Findings.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// Why the door is not guarded, or not for everybody, or lets nobody in that it should; absent
/// where there is nothing to say.
std::optional<Finding> findingAt(const DoorState& door);

/// What is wrong with the machine's doors, door by door, and then with the files that they share.
std::vector<Finding> findingsOfDoors(const HostOptions& options,
                                     const std::vector<DoorState>& doors);

}  // namespace gatehall::ctl
