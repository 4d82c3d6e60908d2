#pragma once

#include <memory>
#include <vector>

#include "ctl/print/Findings.h"
#include "linux/files/HostOptions.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ctl {

/// What is wrong in directory.toml and in switch.toml, and what of a network directory's set-up
/// gives passwords away.
std::vector<Finding> findingsOfSettingsFiles(const HostOptions& options);

/// The network directories that are away, or slow. All are asked at once.
std::vector<Finding> findingsOfDirectories(const HostOptions& options,
                                           const std::vector<std::shared_ptr<NetworkNode>>& nodes);

}  // namespace gatehall::ctl
