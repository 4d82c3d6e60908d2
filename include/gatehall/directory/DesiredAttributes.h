#pragma once

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// The attribute kinds that every query for users asks the directory to return, in this order:
/// everything a CachedUser is asked for but the password hint.
GATEHALL_EXPORT const Strings& desiredUserAttributes();

}  // namespace gatehall
