#pragma once

#include "gatehall/base/Export.h"

namespace gatehall {

/// Where the answer of a login-screen preference came from: an administrator's managed settings,
/// the preference domain, or neither.
enum class PreferenceSource { Managed, Preferences, Default };

/// "managed", "preferences" or "default".
GATEHALL_EXPORT const char* description(PreferenceSource source);

}  // namespace gatehall
