#pragma once

#include "instrumented/RecordingLoginService.h"
#include "world/WorldSessions.h"
#include "world/directory/WorldDirectory.h"

namespace gatehall {

/// Carries switches out in a world, and keeps the requests. The login screen owns the console as no
/// session does. A user who is to be asked for a password stays at the login screen, for there is
/// nobody to type it; a password given with the request is tried, and lets the user into the
/// session that is open or a new one.
class WorldLoginService final : public RecordingLoginService {
 public:
  WorldLoginService(WorldDirectory& directory, WorldSessions& sessions)
      : mDirectory(directory), mSessions(sessions) {}

  std::int32_t switchToLoginScreen() override;
  std::int32_t switchToUser(const Dictionary& attributes) override;

 private:
  bool accepts(const Dictionary& attributes) const;

  WorldDirectory& mDirectory;
  WorldSessions& mSessions;
};

}  // namespace gatehall
