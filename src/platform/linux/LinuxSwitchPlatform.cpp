#include "platform/linux/LinuxSwitchPlatform.h"

#include <utility>

#include "platform/linux/LazyService.h"
#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxCollation.h"
#include "platform/linux/LinuxLog.h"
#include "platform/linux/LinuxLoginService.h"
#include "platform/linux/LinuxMembership.h"
#include "platform/linux/LinuxPreferences.h"
#include "platform/linux/LinuxProcess.h"
#include "platform/linux/LinuxPropertyLists.h"
#include "platform/linux/LinuxSessions.h"

namespace gatehall {

/// In an order in which each stands behind those that it uses.
struct LinuxSwitchPlatform::Services {
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

LinuxSwitchPlatform::LinuxSwitchPlatform(HostOptions options, std::string identity)
    : LinuxSwitchPlatform(std::move(options), std::make_shared<LinuxLog>(std::move(identity))) {}

LinuxSwitchPlatform::LinuxSwitchPlatform(HostOptions options, std::shared_ptr<Log> log)
    : mOptions(std::move(options)), mLog(std::move(log)), mServices(std::make_unique<Services>()) {}

LinuxSwitchPlatform::~LinuxSwitchPlatform() = default;

Process& LinuxSwitchPlatform::process() { return mServices->process; }

LinuxDirectory& LinuxSwitchPlatform::directory() {
  return mServices->directory.get(mOptions, *mLog, mServices->clock);
}

SessionService& LinuxSwitchPlatform::sessions() {
  return mServices->sessions.get(directory(), *mLog);
}

LoginService& LinuxSwitchPlatform::loginService() {
  return mServices->loginService.get(mOptions, *mLog);
}

MembershipService& LinuxSwitchPlatform::membership() {
  return mServices->membership.get(directory());
}

PreferenceStore& LinuxSwitchPlatform::preferences() {
  return mServices->preferences.get(mOptions, directory(), mServices->process, *mLog);
}

PropertyListReader& LinuxSwitchPlatform::propertyLists() {
  return mServices->propertyLists.get(mOptions, *mLog);
}

LocalNotificationCenter& LinuxSwitchPlatform::notificationCenter() {
  return mServices->notificationCenter;
}

LocalNotificationCenter& LinuxSwitchPlatform::distributedNotificationCenter() {
  return mServices->distributedNotificationCenter;
}

Clock& LinuxSwitchPlatform::clock() { return mServices->clock; }

Log& LinuxSwitchPlatform::log() { return *mLog; }

Collation& LinuxSwitchPlatform::collation() { return mServices->collation.get(mOptions); }

void LinuxSwitchPlatform::localeChanged() { mServices->collation.get(mOptions).localeChanged(); }

}  // namespace gatehall
