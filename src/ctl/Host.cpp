#include "ctl/Host.h"

#include <utility>
#include <vector>

#include "platform/instrumented/InstrumentedPlatform.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/portable/PangoText.h"
#include "platform/world/World.h"

namespace gatehall::ctl {

Host::Host(const std::optional<std::string>& worldFile, Trace::Keeps kept)
    : mWorldFile(worldFile), mTrace(std::make_shared<Trace>(kept)) {
  std::shared_ptr<Platform> platform;
  std::vector<Fault> faults;
  if (worldFile) {
    mWorld = World::fromFile(*worldFile);
    mLoginService = std::shared_ptr<RecordingLoginService>(mWorld, &mWorld->loginService());
    faults = mWorld->faults();
    platform = mWorld;
  } else {
    mLoginService = std::make_shared<RecordingLoginService>();
    mMachine = std::make_shared<LinuxPlatform>(HostOptions(), mLog);
    platform = mMachine;
  }
  mPlatform = std::make_shared<InstrumentedPlatform>(
      std::move(platform), std::move(faults), mTrace,
      InstrumentedPlatform::Substitutes{
          .loginService = mLoginService, .log = mLog, .text = std::make_shared<PangoText>()});
  Platform::install(mPlatform);
}

Host::~Host() { Platform::install(nullptr); }

}  // namespace gatehall::ctl
