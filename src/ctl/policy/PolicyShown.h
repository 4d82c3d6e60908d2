#pragma once

#include "ctl/print/Answer.h"
#include "ctl/request/Host.h"

namespace gatehall::ctl {

/// The files that hold the policy's settings, in the order in which they decide, with what each
/// says, where, and whether it is that which counts.
///
/// {"files": [{"path", "kind": "managed" or "preferences", "counts", "fault", "line", "settings":
/// [{"key", "value", "line", "counts", "names": {GUID: name}}]}]}; null for what there isn't. A
/// world has its managed files and, without a path, its preferences. No when a file that counts
/// can't be used.
Answer policyShown(const Host& host);

}  // namespace gatehall::ctl
