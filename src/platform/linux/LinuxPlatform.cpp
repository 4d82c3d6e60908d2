#include "platform/linux/LinuxPlatform.h"

#include <optional>
#include <utility>

#include "platform/linux/LazyService.h"
#include "platform/linux/LinuxParentalControls.h"
#include "platform/linux/LinuxSystemNotifications.h"
#include "platform/linux/LoginHoursEvents.h"
#include "platform/linux/MachineEvents.h"
#include "platform/portable/PangoText.h"
#include "platform/portable/PortableMarkup.h"

namespace gatehall {

/// In an order in which each stands behind those that it uses.
struct LinuxPlatform::Services {
  LazyService<LinuxParentalControls> parentalControls;
  PangoText text;
  PortableMarkup markup;
  LazyService<LinuxRunLoop> runLoop;
  LazyService<LoginHoursEvents> loginHours;
  LazyService<LinuxSystemNotifications> systemNotifications;
  std::optional<MachineEvents> events;
};

LinuxPlatform::LinuxPlatform(HostOptions options, std::string identity)
    : LinuxSwitchPlatform(std::move(options), std::move(identity)),
      mServices(std::make_unique<Services>()) {}

LinuxPlatform::LinuxPlatform(HostOptions options, std::shared_ptr<Log> log)
    : LinuxSwitchPlatform(std::move(options), std::move(log)),
      mServices(std::make_unique<Services>()) {}

LinuxPlatform::~LinuxPlatform() { LinuxPlatform::endThreads(); }

TextSystem& LinuxPlatform::text() { return mServices->text; }

Markup& LinuxPlatform::markup() { return mServices->markup; }

ParentalControls& LinuxPlatform::parentalControls() {
  return mServices->parentalControls.get(
      options(), log(), clock(), [this](std::uint32_t userID, Date change) {
        mServices->loginHours
            .get(runLoop(), clock(),
                 AccountNotifications(runLoop(), directory(), distributedNotificationCenter(),
                                      log()))
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
  mServices->events.emplace(options(), log(), directory(), runLoop(), events,
                            EventTargets{.inProcess = notificationCenter(),
                                         .distributed = distributedNotificationCenter(),
                                         .system = *mServices->systemNotifications.made(),
                                         .localeChanged = [this] { localeChanged(); }});
}

void LinuxPlatform::endThreads() {
  if (auto* runLoop = mServices->runLoop.made()) runLoop->endThreads();
}

}  // namespace gatehall
