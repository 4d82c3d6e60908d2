#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "gatehall/platform/Log.h"
#include "greeter/login/DisplayManager.h"

namespace gatehall::greeter {

/// LightDM, which started this process as its greeter: by liblightdm-gobject, on GLib's default
/// main context.
class LightDM final : public DisplayManager {
 public:
  /// Connects, which runs the context for at most that time. From then on the process is not ended
  /// by SIGPIPE. A LightDM that doesn't answer is gone, as the listener is told.
  explicit LightDM(Log& log, std::chrono::milliseconds limit = std::chrono::seconds(10));
  ~LightDM() override;
  LightDM(const LightDM&) = delete;
  LightDM& operator=(const LightDM&) = delete;

  void listen(LoginListener listener) override;
  const Hints& hints() const override;
  std::vector<SessionKind> sessions() const override;
  void authenticate(const std::string& name) override;
  void authenticateAsGuest() override;
  void authenticateForAutologin() override;
  void answer(const SecretText& text) override;
  void cancel() override;
  void setLanguage(const std::string& locale) override;
  void beginSession(const std::string& key) override;

 private:
  struct State;

  std::unique_ptr<State> mState;
};

}  // namespace gatehall::greeter
