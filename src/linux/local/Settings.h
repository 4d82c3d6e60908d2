#pragma once

#include <string_view>

#include "gatehall/base/Value.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"

namespace gatehall::local {

/// The table [local] of /etc/gatehall/directory.toml. A machine without the file has the defaults.
/// A file that can't be trusted or understood makes nobody an administrator or a guest, and the
/// log names the place.
struct Settings {
  /// admin-groups: the groups whose members are administrators.
  Strings adminGroups{"sudo", "wheel", "admin"};

  /// guests: login names of guest accounts, where ? and * stand for any character and any text.
  /// LightDM names its temporary accounts guest- and six characters.
  Strings guests{"guest", "guest-??????"};

  /// False where admin-groups are set and can't be read.
  bool adminGroupsAreKnown = true;

  static Settings read(const HostOptions& options, FaultLog& faults);

  bool isGuest(std::string_view loginName) const;
};

}  // namespace gatehall::local
