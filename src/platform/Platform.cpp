#include "gatehall/platform/Platform.h"

#include <cstdlib>
#include <utility>

#include "base/ProcessWide.h"

namespace gatehall {

namespace {

// Constant-initialised, so that registrations during static initialisation find it.
constinit DroppedOnInstall* firstDropped = nullptr;

/// Not destroyed when the process exits: others' static objects may still ask for it then.
std::shared_ptr<Platform>& installed() {
  static auto& platform = *new std::shared_ptr<Platform>;
  return platform;
}

}  // namespace

DroppedOnInstall::DroppedOnInstall() : mNext(std::exchange(firstDropped, this)) {}

void DroppedOnInstall::dropAll() {
  for (auto* each = firstDropped; each != nullptr; each = each->mNext) each->drop();
}

ParentalControls& Platform::parentalControls() {
  throw PlatformException("This host has no parental controls.");
}

SystemNotifications& Platform::systemNotifications() {
  throw PlatformException("This host has no system notifications.");
}

RunLoop& Platform::runLoop() { throw PlatformException("This host has no run loop."); }

TextSystem& Platform::text() { throw PlatformException("This host has no text system."); }

Markup& Platform::markup() { throw PlatformException("This host has no markup readers."); }

void Platform::install(std::shared_ptr<Platform> platform) {
  if (installed()) installed()->endThreads();
  DroppedOnInstall::dropAll();
  installed() = std::move(platform);
}

bool Platform::isInstalled() { return installed() != nullptr; }

Platform& platform() {
  const auto& host = installed();
  if (!host) std::abort();
  return *host;
}

}  // namespace gatehall
