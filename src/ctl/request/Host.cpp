#include "ctl/request/Host.h"

#include <unistd.h>
#include <utility>

#include "gatehall/linux/LinuxPlatform.h"
#include "instrumented/InstrumentedPlatform.h"
#include "linux/PolicyFiles.h"
#include "linux/directory/LinuxDirectory.h"
#include "linux/files/HostOptions.h"
#include "portable/text/PangoText.h"
#include "world/file/WorldFile.h"

namespace gatehall::ctl {

Host::Host(const std::optional<std::string>& worldFile, Trace::Keeps kept)
    : mWorldFile(worldFile), mTrace(std::make_shared<Trace>(kept)) {
  std::shared_ptr<Platform> platform;
  std::vector<Fault> faults;
  if (worldFile) {
    mWorld = worldFromFile(*worldFile);
    mLoginService = std::shared_ptr<RecordingLoginService>(mWorld, &mWorld->loginService());
    faults = mWorld->faults();
    platform = mWorld;
  } else {
    mLoginService = std::make_shared<RecordingLoginService>();
    mMachine = std::make_shared<LinuxPlatform>(LinuxOptions(), mLog);
    platform = mMachine;
  }
  mPlatform = std::make_shared<InstrumentedPlatform>(
      std::move(platform), std::move(faults), mTrace,
      InstrumentedPlatform::Substitutes{
          .loginService = mLoginService, .log = mLog, .text = std::make_shared<PangoText>()});
  Platform::install(mPlatform);
}

Host::~Host() { Platform::install(nullptr); }

std::vector<std::shared_ptr<NetworkNode>> Host::networkNodes() const {
  if (!mMachine) return {};
  return static_cast<LinuxDirectory&>(mMachine->directory()).networkNodes();
}

Strings Host::filesHiddenFromUsers() const {
  if (!mMachine || geteuid() != 0) return {};
  return policyFilesHiddenFromUsers(HostOptions());
}

}  // namespace gatehall::ctl
