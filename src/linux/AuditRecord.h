#pragma once

#include "gatehall/platform/Log.h"

namespace gatehall {

/// Tells the kernel's audit of a decision (auditd(8)), where that is on and this process may.
/// Raises nothing. Maps libaudit on first use: for root's processes, as others may not.
void writeAuditRecord(const DecisionRecord& decision);

}  // namespace gatehall
