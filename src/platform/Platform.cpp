#include "platform/Platform.h"

#include <cstdlib>
#include <utility>

#include "platform/ProcessWide.h"

namespace gatehall {

namespace {

// Both are constant-initialised, so that registrations during static initialisation find them.
constinit DroppedOnInstall* firstDropped = nullptr;
constinit std::shared_ptr<Platform> installed;

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
  DroppedOnInstall::dropAll();
  installed = std::move(platform);
}

bool Platform::isInstalled() { return installed != nullptr; }

Platform& platform() {
  if (!installed) std::abort();
  return *installed;
}

}  // namespace gatehall
