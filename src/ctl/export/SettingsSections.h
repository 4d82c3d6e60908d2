#pragma once

#include "ctl/export/Gathered.h"
#include "ctl/request/Host.h"
#include "gatehall/base/Value.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

/// A world file's sections "preferences", of the user who asks and of the system, and "managed".
struct SettingsSections {
  Json preferences = Json::object();
  Json managed = Json::object();

  /// Whom the allow and deny lists name.
  Strings listed() const;
};

/// Of a world as they are in it; of a machine as its files have them. May raise PlatformException.
SettingsSections settingsSections(const Host& host, Platform& machine, Gathered& gathered);

}  // namespace gatehall::ctl
