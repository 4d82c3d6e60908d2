#pragma once

#include <functional>

#include "ctl/policy/SettingsChange.h"
#include "ctl/print/Answer.h"
#include "ctl/request/Host.h"
#include "ctl/request/Verb.h"

namespace gatehall::ctl {

/// How the policy is to be changed.
struct PolicyWriting {
  bool ofPreferences = false;  ///< the machine's preferences, else the managed file
  bool isDryRun = false;       ///< nothing is written
  bool isForced = false;       ///< whoever it shuts out
  bool startsAnew = false;     ///< what the file holds may be unusable: it goes
  /// Makes the change. May raise UsageError.
  std::function<void(SettingsChange&)> change;
};

/// Changes the file, after it has shown what that changes for whom.
///
/// {"file", "changes": SettingsChange::json, "remarks": [sentences], "machines", "differing": what
/// becomes of whom (Machines.h), "refused": why it is not written or null, "written"}. Done when it
/// is written, or would be; No when it would shut out the caller; WrongUsage when the
/// file there can't be used; HostFailure when it can't be written, or there is no telling whether
/// it shuts out the caller. Raises UsageError when the caller has no right to write it.
Answer policyWritten(const Host& host, const Request& request, const PolicyWriting& writing);

}  // namespace gatehall::ctl
