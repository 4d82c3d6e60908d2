#pragma once

#include <vector>

#include "ctl/doors/DoorState.h"
#include "ctl/print/Answer.h"
#include "ctl/print/Findings.h"
#include "ctl/print/Json.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// {"service": …, "guarded": "yes", "file": …, "modules": [{"file": …, "line": …, "arguments":
/// […]}]}: which file the service has, and the lines of the module that guard it.
Json doorJson(const DoorState& door);

/// {"doors": […], "findings": […]}: the doors, and what is wrong.
Answer answerAbout(const std::vector<DoorState>& doors, const std::vector<Finding>& findings);

/// The machine's doors, and what is wrong with them. Raises PlatformException.
Answer answerAboutDoors(const HostOptions& options);

}  // namespace gatehall::ctl
