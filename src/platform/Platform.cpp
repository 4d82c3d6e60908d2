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

void Platform::install(std::shared_ptr<Platform> platform) {
  DroppedOnInstall::dropAll();
  installed = std::move(platform);
}

Platform& platform() {
  if (!installed) std::abort();
  return *installed;
}

}  // namespace gatehall
