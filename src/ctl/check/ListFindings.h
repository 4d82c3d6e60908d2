#pragma once

#include <vector>

#include "ctl/check/Policy.h"
#include "ctl/print/Findings.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// What of the policy's lists will surprise on the installed host: entries that name nobody, lists
/// that come out otherwise than they look. What can't be told is said in messages.
std::vector<Finding> findingsOfLists(const Policy& policy, Strings& messages);

}  // namespace gatehall::ctl
