#include "gatehall/linux/LinuxPlatform.h"

#include <optional>
#include <utility>

#include "linux/LazyService.h"
#include "linux/SwitchServices.h"
#include "linux/events/LoginHoursEvents.h"
#include "linux/events/MachineEvents.h"
#include "linux/hours/LinuxParentalControls.h"
#include "linux/loop/LinuxSystemNotifications.h"
#include "linux/loop/MainLoop.h"
#include "portable/formats/PortableMarkup.h"
#include "portable/text/PangoText.h"

namespace gatehall {

/// In an order in which each stands behind those that it uses.
struct LinuxPlatform::Services {
  LazyService<LinuxParentalControls> parentalControls;
  PangoText text;
  PortableMarkup markup;
  LazyService<MainLoop> runLoop;
  LazyService<LoginHoursEvents> loginHours;
  LazyService<LinuxSystemNotifications> systemNotifications;
  std::optional<MachineEvents> events;
};

LinuxPlatform::LinuxPlatform(const LinuxOptions& options, std::string identity)
    : LinuxSwitchPlatform(options, std::move(identity)), mServices(std::make_unique<Services>()) {}

LinuxPlatform::LinuxPlatform(const LinuxOptions& options, std::shared_ptr<Log> log)
    : LinuxSwitchPlatform(options, std::move(log)), mServices(std::make_unique<Services>()) {}

LinuxPlatform::~LinuxPlatform() { LinuxPlatform::endThreads(); }

TextSystem& LinuxPlatform::text() { return mServices->text; }

Markup& LinuxPlatform::markup() { return mServices->markup; }

ParentalControls& LinuxPlatform::parentalControls() {
  auto& forSwitch = *LinuxSwitchPlatform::mServices;
  return mServices->parentalControls.get(
      forSwitch.options, log(), clock(), [this, &forSwitch](std::uint32_t userID, Date change) {
        mServices->loginHours
            .get(mainLoop(), clock(),
                 AccountNotifications(mainLoop(), directory(),
                                      forSwitch.distributedNotificationCenter, log()))
            .expect(userID, change);
      });
}

SystemNotifications& LinuxPlatform::systemNotifications() {
  return mServices->systemNotifications.get(mainLoop());
}

LinuxRunLoop& LinuxPlatform::runLoop() { return mainLoop(); }

MainLoop& LinuxPlatform::mainLoop() {
  return mServices->runLoop.get(mMainThread, [this](EventLoop& events) { listen(events); });
}

void LinuxPlatform::listen(EventLoop& events) {
  auto& forSwitch = *LinuxSwitchPlatform::mServices;
  systemNotifications();
  mServices->events.emplace(
      forSwitch.options, log(), directory(), mainLoop(), events,
      EventTargets{.inProcess = forSwitch.notificationCenter,
                   .distributed = forSwitch.distributedNotificationCenter,
                   .system = *mServices->systemNotifications.made(),
                   .localeChanged = [&forSwitch] {
                     forSwitch.collation.get(forSwitch.options).localeChanged();
                   }});
}

void LinuxPlatform::endThreads() {
  if (auto* runLoop = mServices->runLoop.made()) runLoop->endThreads();
}

}  // namespace gatehall
