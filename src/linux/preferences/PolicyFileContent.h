#pragma once

#include <optional>
#include <string_view>

#include "gatehall/base/Value.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// The settings that an administrator's property list holds; absent when there is no such file. The
/// path is from the host's root, and its last part says which settings may stand there:
/// "com.orvane.gatehall.plist" those of the login screen, "com.orvane.Tavlo.plist" one of its own.
///
/// Raises PlatformException, "PATH: REASON", "PATH: KEY: REASON" or, in an XML list,
/// "PATH:LINE: KEY: REASON", when the file can't be used (readPolicyFile), is not a property list
/// to the letter (checkPropertyListGrammar), holds no dictionary, or says what it can't mean: a
/// list that is none, an entry of a list of GUIDs that is neither "*" nor a GUID, a boolean that is
/// none (strictBoolean), a key that is one slip away from a setting's. Other keys that are no
/// settings are reported, once, with the nearest one that is.
std::optional<Dictionary> readPolicySettings(const HostOptions& options, std::string_view path,
                                             FaultLog& faults);

}  // namespace gatehall
