#pragma once

#include <string>

#include "linux/files/HostOptions.h"

namespace gatehall {

/// The machine's locale for a category, "LC_COLLATE": LC_ALL, the category's own or LANG, the first
/// that is set, of locale.conf(5), on Debian also in /etc/default/locale. Empty when neither file
/// sets one. Not the environment's: whoever starts a privileged program chooses that.
std::string machineLocale(const HostOptions& options, const char* category);

}  // namespace gatehall
