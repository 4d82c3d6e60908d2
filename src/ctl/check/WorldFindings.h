#pragma once

#include <string>
#include <vector>

#include "ctl/check/Policy.h"
#include "ctl/print/Findings.h"
#include "world/json/JsonCursor.h"

namespace gatehall::ctl {

/// Everything for which a world file is refused, each an error.
std::vector<Finding> findingsOfFaults(const JsonSource& source);

/// What a world says that it can hardly mean: attributes and settings of no kind, names, ids and
/// GUIDs that two have, names, ids and GUIDs of nobody, nodes that are none. What its settings say
/// is put into the policy. Values of the wrong kind are passed over.
std::vector<Finding> findingsOfWorld(const JsonSource& source, const JsonCursor& root,
                                     Policy& policy);

}  // namespace gatehall::ctl
