#pragma once

#include <vector>

#include "accounts/Accounts.h"
#include "ctl/print/Findings.h"
#include "ctl/request/Host.h"

namespace gatehall::ctl {

/// A host without an administrator besides root, or with none who may log in. The accounts are all
/// of its own. May raise PlatformException.
std::vector<Finding> findingsOfAdministrators(const Host& host,
                                              const std::vector<Account>& accounts);

}  // namespace gatehall::ctl
