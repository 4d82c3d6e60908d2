#pragma once

#include <vector>

#include "ctl/check/Policy.h"
#include "ctl/print/Findings.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// What is wrong with the machine's property lists: those that can't be used, keys that are no
/// settings, values of the wrong kind, files where nobody looks for them or that another one hides.
/// What they set is put into the policy. May raise PlatformException.
std::vector<Finding> findingsOfSettings(const HostOptions& options, Policy& policy);

}  // namespace gatehall::ctl
