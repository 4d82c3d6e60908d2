#pragma once

#include <optional>
#include <string>

namespace gatehall {

/// The local node's name. Fetched once and kept for the life of the process; after a failure, which
/// is logged, the next call tries again. Absent when there is no local node.
std::optional<std::string> localNodeName();

}  // namespace gatehall
