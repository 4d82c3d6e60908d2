#pragma once

#include <optional>
#include <string>

#include "gatehall/base/Export.h"

namespace gatehall {

/// The local node's name. Fetched once and kept for the life of the process; after a failure, which
/// is logged, the next call tries again. Absent when there is no local node.
GATEHALL_EXPORT std::optional<std::string> localNodeName();

}  // namespace gatehall
