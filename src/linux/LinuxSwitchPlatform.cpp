#include "gatehall/linux/LinuxSwitchPlatform.h"

#include <utility>

#include "linux/LinuxLog.h"
#include "linux/SwitchServices.h"

namespace gatehall {

LinuxSwitchPlatform::LinuxSwitchPlatform(const LinuxOptions& options, std::string identity)
    : LinuxSwitchPlatform(options, std::make_shared<LinuxLog>(identity)) {
  mServices->decisionLog.emplace(std::move(identity));
}

LinuxSwitchPlatform::LinuxSwitchPlatform(const LinuxOptions& options, std::shared_ptr<Log> log)
    : mServices(std::make_unique<Services>(*options.mValues, std::move(log))) {}

LinuxSwitchPlatform::~LinuxSwitchPlatform() = default;

Process& LinuxSwitchPlatform::process() { return mServices->process; }

DirectoryService& LinuxSwitchPlatform::directory() {
  return mServices->directory.get(mServices->options, log(), mServices->clock);
}

SessionService& LinuxSwitchPlatform::sessions() {
  return mServices->sessions.get(mServices->options, directory(), log());
}

LoginService& LinuxSwitchPlatform::loginService() {
  return mServices->loginService.get(mServices->options, log());
}

MembershipService& LinuxSwitchPlatform::membership() {
  return mServices->membership.get(directory(), log());
}

PreferenceStore& LinuxSwitchPlatform::preferences() {
  return mServices->preferences.get(mServices->options, directory(), mServices->process, log());
}

PropertyListReader& LinuxSwitchPlatform::propertyLists() {
  return mServices->propertyLists.get(mServices->options, log());
}

NotificationCenter& LinuxSwitchPlatform::notificationCenter() {
  return mServices->notificationCenter;
}

NotificationCenter& LinuxSwitchPlatform::distributedNotificationCenter() {
  return mServices->distributedNotificationCenter;
}

Clock& LinuxSwitchPlatform::clock() { return mServices->clock; }

Log& LinuxSwitchPlatform::log() { return *mServices->log; }

DecisionLog* LinuxSwitchPlatform::decisionLog() {
  return mServices->decisionLog ? &*mServices->decisionLog : nullptr;
}

Collation& LinuxSwitchPlatform::collation() { return mServices->collation.get(mServices->options); }

}  // namespace gatehall
