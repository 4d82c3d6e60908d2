#pragma once

#include <vector>

#include "accounts/Accounts.h"
#include "ctl/print/Findings.h"
#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// What is wrong with the machine's own accounts and groups (passwd(5), group(5), shadow(5), user
/// records in /etc/userdb): lines and records that can't be read, names and ids that two share,
/// accounts without a line in /etc/shadow, hashes where everybody can read them. A file that can't
/// be read without more rights is told of in a message. May raise PlatformException.
std::vector<Finding> findingsOfAccounts(const HostOptions& options, Strings& messages);

/// Accounts of directories in whose place another one counts, or that the host leaves out.
std::vector<Finding> findingsOfHiddenAccounts(const std::vector<Account>& accounts);

}  // namespace gatehall::ctl
