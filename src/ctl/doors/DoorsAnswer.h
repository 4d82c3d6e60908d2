#pragma once

#include "ctl/doors/DoorState.h"
#include "ctl/print/Answer.h"
#include "ctl/print/Json.h"
#include "ctl/request/Host.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// {"service": …, "guarded": "yes", "file": …, "modules": [{"file": …, "line": …, "arguments":
/// […]}]}: which file the service has, and the lines of the module that guard it.
Json doorJson(const DoorState& door);

/// The machine's doors, and what is wrong with them. Raises PlatformException.
Answer answerAboutDoors(const HostOptions& options);

/// The same of what the host is; a world has no doors.
Answer answerAboutDoors(const Host& host);

}  // namespace gatehall::ctl
