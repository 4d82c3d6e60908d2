#pragma once

#include <memory>

#include "linux/accounts/Passwd.h"
#include "linux/accounts/UserRecord.h"

namespace gatehall::local {

/// What an account is described by: a line of /etc/passwd, a user record, or both.
struct Account {
  PasswdLine line;  ///< of /etc/passwd; of a record that stands alone, what the line would be
  std::shared_ptr<const UserRecord> record;  ///< nullptr when there is none
  bool standsAlone = false;                  ///< the record, without a line
};

}  // namespace gatehall::local
