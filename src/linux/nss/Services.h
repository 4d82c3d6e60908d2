#pragma once

#include <string>
#include <string_view>

#include "gatehall/base/Value.h"

/// The name service switch, nsswitch.conf(5).
namespace gatehall::nss {

inline constexpr const char* kSwitchFile = "/etc/nsswitch.conf";

/// The services beyond the local files that the file's text asks for "passwd", "group" or
/// "initgroups", each once, in their order. Of several lines of a database the last one counts, as
/// for the C library, which also takes blanks before and after the name.
Strings networkServices(std::string_view switchText);

/// Of services whose daemons' sockets are known (SSSD, winbind, nslcd), the first whose daemon
/// takes no connection, with the reason; empty when all do. A module of the C library whose daemon
/// is gone may answer as if it knew nobody. The root stands in front of the sockets' paths. Doesn't
/// wait.
std::string whySilent(const Strings& services, const std::string& root = {});

}  // namespace gatehall::nss
