#pragma once

#include <string>

#include "linux/files/HostOptions.h"

namespace gatehall {

/// The locale by which the machine orders names: LC_ALL, LC_COLLATE or LANG, the first that is set,
/// of locale.conf(5), on Debian also in /etc/default/locale. Empty when neither file sets one. Not
/// the environment's: whoever starts a privileged program chooses that.
std::string machineLocale(const HostOptions& options);

}  // namespace gatehall
