#pragma once

#include <functional>

#include "gatehall/platform/Log.h"
#include "gatehall/platform/LoginService.h"
#include "linux/files/HostOptions.h"

namespace gatehall {

/// Switches the console by the display manager's own means, or by logind where a session may be
/// brought to the front without asking for a password. Raises nothing: a switch that fails answers
/// a status of 1, and the log says what could not be done and why. Ends
/// within fifteen seconds: five for the questions before, nine for what the display manager does.
class LinuxLoginService final : public LoginService {
 public:
  LinuxLoginService(HostOptions options, Log& log);

  std::int32_t switchToLoginScreen() override;
  std::int32_t switchToUser(const Dictionary& attributes) override;

 private:
  std::int32_t perform(const std::function<void(class SystemBus&)>& operation);

  HostOptions mOptions;
  Log& mLog;
};

}  // namespace gatehall
