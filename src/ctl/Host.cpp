#include "ctl/Host.h"

#include "ctl/Verb.h"
#include "platform/instrumented/InstrumentedPlatform.h"
#include "platform/world/World.h"

namespace gatehall::ctl {

Host::Host(const std::optional<std::string>& worldFile) {
  if (!worldFile) throw UsageError("--world is missing: this build looks at worlds only");
  const auto world = World::fromFile(*worldFile);
  mLoginService = std::shared_ptr<RecordingLoginService>(world, &world->loginService());
  Platform::install(std::make_shared<InstrumentedPlatform>(
      world, world->faults(), mTrace,
      InstrumentedPlatform::Substitutes{.loginService = nullptr, .log = mLog}));
}

Host::~Host() { Platform::install(nullptr); }

}  // namespace gatehall::ctl
