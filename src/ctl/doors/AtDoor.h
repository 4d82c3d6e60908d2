#pragma once

#include <string>
#include <vector>

#include "accounts/Accounts.h"
#include "ctl/doors/DoorState.h"
#include "ctl/print/Answer.h"
#include "ctl/request/Host.h"

namespace gatehall::ctl {

/// The door of a PAM service of that name, in any case: of this machine as its configuration has
/// it; in a world, which has none, as the package of the module guards it. Raises UsageError for
/// what can be no service's name.
DoorState doorNamed(const Host& host, const std::string& service);

/// What the door answers to each who is meant.
Answer answersAtDoor(const Host& host, const DoorState& door, const std::vector<Meant>& asked);

}  // namespace gatehall::ctl
