#include <gmock/gmock.h>
#include <memory>

#include "tests/switcher/SwitchWorld.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

/// A login service that remembers with which rights it was asked.
class WatchfulLoginService final : public LoginService {
 public:
  explicit WatchfulLoginService(const WorldProcess& process) : mProcess(process) {}

  std::int32_t switchToLoginScreen() override { return remember(); }
  std::int32_t switchToUser(const Dictionary&) override { return remember(); }

  std::vector<bool> gaveUpRights;

 private:
  std::int32_t remember() {
    gaveUpRights.push_back(mProcess.gaveUpRights());
    return 0;
  }

  const WorldProcess& mProcess;
};

class SwitchRights : public SwitchWorld {
 protected:
  SwitchRights() {
    Platform::install(std::make_shared<InstrumentedPlatform>(
        mWorld, std::vector<Fault>(), nullptr,
        InstrumentedPlatform::Substitutes{mService, {}, {}}));
  }

  /// Of each switch, whether the rights were gone when it was asked for.
  std::vector<bool> goneAtEachSwitch(std::initializer_list<std::string_view> words) {
    run(words);
    return mService->gaveUpRights;
  }

 private:
  std::shared_ptr<WatchfulLoginService> mService =
      std::make_shared<WatchfulLoginService>(mWorld->process());
};

TEST_F(SwitchRights, GoBeforeTheLastUserIsSwitchedTo) {
  EXPECT_THAT(goneAtEachSwitch({"-switchToUserID", "1001", "-switchToUserID", "1002", "x"}),
              ElementsAre(false, true));
}

TEST_F(SwitchRights, GoBeforeAUserBehindWhomASuspendEndsTheWalk) {
  EXPECT_THAT(goneAtEachSwitch({"-switchToUserID", "1001", "-suspend", "-switchToUserID", "1002"}),
              ElementsAre(true, true));
}

TEST_F(SwitchRights, GoBeforeAUserBehindWhomASwitchHasNoID) {
  EXPECT_THAT(goneAtEachSwitch({"-switchToUserID", "1001", "x", "-switchToUserID"}),
              ElementsAre(true));
}

TEST_F(SwitchRights, StayWhileASuspendIsTheIDOfTheNextUser) {
  EXPECT_THAT(goneAtEachSwitch({"-switchToUserID", "1001", "-switchToUserID", "-suspend"}),
              ElementsAre(false, true));
}

TEST_F(SwitchRights, GoBeforeTheLoginScreenComesUp) {
  EXPECT_THAT(goneAtEachSwitch({"-suspend"}), ElementsAre(true));
}

}  // namespace
}  // namespace gatehall
