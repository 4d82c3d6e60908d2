#pragma once

#include <string_view>

#include "gatehall/platform/Log.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// /etc/gatehall/switch.toml. A machine without the file has the defaults, and so has one whose
/// file can't be trusted or understood, which the log then says.
struct SwitchSettings {
  static constexpr std::string_view kPath = "/etc/gatehall/switch.toml";

  /// lock = "require": a session is left for another's desktop that opens unasked only when it is
  /// seen to be locked. lock = "try": when nobody locks it, it is left all the same.
  bool requiresLock = true;

  static SwitchSettings read(const HostOptions& options, Log& log);
  static SwitchSettings read(const HostOptions& options, FaultLog& faults);
};

}  // namespace gatehall
