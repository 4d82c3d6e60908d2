#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "gatehall/platform/Log.h"
#include "gatehall/platform/SessionService.h"
#include "linux/files/HostOptions.h"
#include "linux/sessions/SdLogin.h"

namespace gatehall {

/// logind's sessions. The current one is that in front on seat0; listed are those of users, on a
/// seat, with a graphical display. A session's identifier is sessionNumber of its name; its user's
/// name is the directory's, missing when that has none. What can't be asked is absent, and the log
/// says why. A machine that doesn't run has none.
class LinuxSessions final : public SessionService {
 public:
  LinuxSessions(const HostOptions& options, DirectoryService& directory, Log& log);

  std::optional<Dictionary> copyCurrentSession() override;
  std::optional<std::vector<std::optional<Dictionary>>> copySessionList() override;

 private:
  std::optional<Dictionary> record(const std::string& name, const sdLogin::Session& session);
  std::optional<std::string> userName(std::uint32_t userID);

  const bool mIsRunning;
  DirectoryService& mDirectory;
  Log& mLog;
};

}  // namespace gatehall
