#include "platform/linux/LinuxPlatform.h"

#include <mutex>
#include <optional>
#include <utility>

#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxCollation.h"
#include "platform/linux/LinuxDirectory.h"
#include "platform/linux/LinuxLog.h"
#include "platform/linux/LinuxLoginService.h"
#include "platform/linux/LinuxMembership.h"
#include "platform/linux/LinuxParentalControls.h"
#include "platform/linux/LinuxPreferences.h"
#include "platform/linux/LinuxProcess.h"
#include "platform/linux/LinuxPropertyLists.h"
#include "platform/linux/LinuxSessions.h"
#include "platform/linux/LinuxSystemNotifications.h"
#include "platform/linux/LoginHoursEvents.h"
#include "platform/linux/MachineEvents.h"
#include "platform/portable/LocalNotificationCenter.h"
#include "platform/portable/PangoText.h"
#include "platform/portable/PortableMarkup.h"

namespace gatehall {

namespace {

/// A service that is made by the first thread that asks for it.
template <class Service>
class Lazy {
 public:
  template <class... Arguments>
  Service& get(Arguments&&... arguments) {
    std::call_once(mMade, [&] { mService.emplace(std::forward<Arguments>(arguments)...); });
    return *mService;
  }

  /// nullptr when nobody has asked for it.
  Service* made() { return mService ? &*mService : nullptr; }

 private:
  std::once_flag mMade;
  std::optional<Service> mService;
};

}  // namespace

/// In an order in which each stands behind those that it uses.
struct LinuxPlatform::Services {
  LinuxProcess process;
  LinuxClock clock;
  LocalNotificationCenter notificationCenter;
  LocalNotificationCenter distributedNotificationCenter;
  Lazy<LinuxDirectory> directory;
  Lazy<LinuxMembership> membership;
  Lazy<LinuxSessions> sessions;
  Lazy<LinuxLoginService> loginService;
  Lazy<LinuxPreferences> preferences;
  Lazy<LinuxPropertyLists> propertyLists;
  Lazy<LinuxCollation> collation;
  Lazy<LinuxParentalControls> parentalControls;
  PangoText text;
  PortableMarkup markup;
  Lazy<LinuxRunLoop> runLoop;
  Lazy<LoginHoursEvents> loginHours;
  Lazy<LinuxSystemNotifications> systemNotifications;
  std::optional<MachineEvents> events;
};

LinuxPlatform::LinuxPlatform(HostOptions options, std::string identity)
    : LinuxPlatform(std::move(options), std::make_shared<LinuxLog>(std::move(identity))) {}

LinuxPlatform::LinuxPlatform(HostOptions options, std::shared_ptr<Log> log)
    : mOptions(std::move(options)), mLog(std::move(log)), mServices(std::make_unique<Services>()) {}

LinuxPlatform::~LinuxPlatform() { LinuxPlatform::endThreads(); }

Process& LinuxPlatform::process() { return mServices->process; }

LinuxDirectory& LinuxPlatform::directory() {
  return mServices->directory.get(mOptions, *mLog, mServices->clock);
}

SessionService& LinuxPlatform::sessions() { return mServices->sessions.get(directory(), *mLog); }

LoginService& LinuxPlatform::loginService() { return mServices->loginService.get(mOptions, *mLog); }

MembershipService& LinuxPlatform::membership() { return mServices->membership.get(directory()); }

PreferenceStore& LinuxPlatform::preferences() {
  return mServices->preferences.get(mOptions, directory(), mServices->process, *mLog);
}

PropertyListReader& LinuxPlatform::propertyLists() {
  return mServices->propertyLists.get(mOptions, *mLog);
}

NotificationCenter& LinuxPlatform::notificationCenter() { return mServices->notificationCenter; }

NotificationCenter& LinuxPlatform::distributedNotificationCenter() {
  return mServices->distributedNotificationCenter;
}

Clock& LinuxPlatform::clock() { return mServices->clock; }

Log& LinuxPlatform::log() { return *mLog; }

TextSystem& LinuxPlatform::text() { return mServices->text; }

Markup& LinuxPlatform::markup() { return mServices->markup; }

Collation& LinuxPlatform::collation() { return mServices->collation.get(mOptions); }

ParentalControls& LinuxPlatform::parentalControls() {
  return mServices->parentalControls.get(
      mOptions, *mLog, mServices->clock, [this](std::uint32_t userID, Date change) {
        auto& services = *mServices;
        services.loginHours
            .get(runLoop(), services.clock,
                 AccountNotifications(runLoop(), directory(),
                                      services.distributedNotificationCenter, *mLog))
            .expect(userID, change);
      });
}

SystemNotifications& LinuxPlatform::systemNotifications() {
  return mServices->systemNotifications.get(runLoop());
}

LinuxRunLoop& LinuxPlatform::runLoop() {
  return mServices->runLoop.get(mMainThread, [this](EventLoop& events) { listen(events); });
}

void LinuxPlatform::listen(EventLoop& events) {
  systemNotifications();
  mServices->events.emplace(mOptions, *mLog, directory(), runLoop(), events,
                            EventTargets{.inProcess = mServices->notificationCenter,
                                         .distributed = mServices->distributedNotificationCenter,
                                         .system = *mServices->systemNotifications.made(),
                                         .localeChanged = [this] {
                                           mServices->collation.get(mOptions).localeChanged();
                                         }});
}

void LinuxPlatform::endThreads() {
  if (auto* runLoop = mServices->runLoop.made()) runLoop->endThreads();
}

}  // namespace gatehall
