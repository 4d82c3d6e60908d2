#include "gatehall/linux/LinuxSwitchPlatform.h"

#include <utility>

#include "linux/LazyService.h"
#include "linux/LinuxClock.h"
#include "linux/LinuxCollation.h"
#include "linux/LinuxLog.h"
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

/// In an order in which each stands behind those that it uses.
struct LinuxSwitchPlatform::Services {
  Services(const HostOptions& hostOptions, std::shared_ptr<Log> hostLog)
      : options(hostOptions), log(std::move(hostLog)) {}

  const HostOptions options;
  const std::shared_ptr<Log> log;
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

LinuxSwitchPlatform::LinuxSwitchPlatform(const LinuxOptions& options, std::string identity)
    : LinuxSwitchPlatform(options, std::make_shared<LinuxLog>(std::move(identity))) {}

LinuxSwitchPlatform::LinuxSwitchPlatform(const LinuxOptions& options, std::shared_ptr<Log> log)
    : mServices(std::make_unique<Services>(options.values(), std::move(log))) {}

LinuxSwitchPlatform::~LinuxSwitchPlatform() = default;

Process& LinuxSwitchPlatform::process() { return mServices->process; }

DirectoryService& LinuxSwitchPlatform::directory() {
  return mServices->directory.get(options(), log(), mServices->clock);
}

SessionService& LinuxSwitchPlatform::sessions() {
  return mServices->sessions.get(directory(), log());
}

LoginService& LinuxSwitchPlatform::loginService() {
  return mServices->loginService.get(options(), log());
}

MembershipService& LinuxSwitchPlatform::membership() {
  return mServices->membership.get(directory());
}

PreferenceStore& LinuxSwitchPlatform::preferences() {
  return mServices->preferences.get(options(), directory(), mServices->process, log());
}

PropertyListReader& LinuxSwitchPlatform::propertyLists() {
  return mServices->propertyLists.get(options(), log());
}

NotificationCenter& LinuxSwitchPlatform::notificationCenter() { return inProcessNotifications(); }

NotificationCenter& LinuxSwitchPlatform::distributedNotificationCenter() {
  return distributedNotifications();
}

const std::vector<std::shared_ptr<NetworkNode>>& LinuxSwitchPlatform::networkNodes() {
  directory();
  return mServices->directory.made()->networkNodes();
}

const HostOptions& LinuxSwitchPlatform::options() const { return mServices->options; }

LocalNotificationCenter& LinuxSwitchPlatform::inProcessNotifications() {
  return mServices->notificationCenter;
}

LocalNotificationCenter& LinuxSwitchPlatform::distributedNotifications() {
  return mServices->distributedNotificationCenter;
}

Clock& LinuxSwitchPlatform::clock() { return mServices->clock; }

Log& LinuxSwitchPlatform::log() { return *mServices->log; }

Collation& LinuxSwitchPlatform::collation() { return mServices->collation.get(options()); }

void LinuxSwitchPlatform::localeChanged() { mServices->collation.get(options()).localeChanged(); }

}  // namespace gatehall
