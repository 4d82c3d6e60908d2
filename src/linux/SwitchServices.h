#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "gatehall/linux/LinuxSwitchPlatform.h"
#include "linux/LazyService.h"
#include "linux/LinuxClock.h"
#include "linux/LinuxCollation.h"
#include "linux/LinuxDecisionLog.h"
#include "linux/directory/LinuxDirectory.h"
#include "linux/directory/LinuxMembership.h"
#include "linux/files/HostOptions.h"
#include "linux/preferences/LinuxPreferences.h"
#include "linux/preferences/LinuxPropertyLists.h"
#include "linux/process/LinuxProcess.h"
#include "linux/sessions/LinuxSessions.h"
#include "linux/switch/LinuxLoginService.h"
#include "portable/LocalNotificationCenter.h"

namespace gatehall {

/// What a switch needs of the machine, for the whole host to build upon. Each stands behind those
/// that it uses.
struct LinuxSwitchPlatform::Services {
  Services(const HostOptions& hostOptions, std::shared_ptr<Log> hostLog)
      : options(hostOptions), log(std::move(hostLog)) {}

  const HostOptions options;
  const std::shared_ptr<Log> log;
  std::optional<LinuxDecisionLog> decisionLog;
  LinuxProcess process;
  LinuxClock clock;
  LocalNotificationCenter notificationCenter;
  LocalNotificationCenter distributedNotificationCenter;
  LazyService<LinuxDirectory> directory;
  LazyService<LinuxMembership> membership;
  LazyService<LinuxSessions> sessions;
  LazyService<LinuxLoginService> loginService;
  LazyService<LinuxPreferences> preferences;
  LazyService<LinuxPropertyLists> propertyLists;
  LazyService<LinuxCollation> collation;
};

}  // namespace gatehall
