#pragma once

#include <vector>

#include "ctl/print/Findings.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// The files that decide about logins and that users can't read, or others can write, or read
/// although they hold secrets.
std::vector<Finding> findingsOfFiles(const HostOptions& options);

}  // namespace gatehall::ctl
