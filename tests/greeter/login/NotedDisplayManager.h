#pragma once

#include <string>
#include <utility>
#include <vector>

#include "greeter/login/DisplayManager.h"

namespace gatehall::greeter {

/// A display manager that notes what it is asked for, and says what a test has it say.
class NotedDisplayManager final : public DisplayManager {
 public:
  void listen(LoginListener listener) override { says = std::move(listener); }
  const Hints& hints() const override { return wanted; }
  std::vector<SessionKind> sessions() const override { return kinds; }

  void authenticate(const std::string& name) override { calls.push_back("authenticate " + name); }
  void authenticateAsGuest() override { calls.emplace_back("authenticate guest"); }
  void authenticateForAutologin() override { calls.emplace_back("authenticate automatically"); }
  void answer(const SecretText& text) override {
    calls.push_back("answer " + std::string(text.view()));
  }
  void cancel() override { calls.emplace_back("cancel"); }
  void setLanguage(const std::string& locale) override { calls.push_back("language " + locale); }
  void beginSession(const std::string& key) override { calls.push_back("begin " + key); }

  LoginListener says;
  Hints wanted{.defaultSession = "plain"};
  std::vector<SessionKind> kinds{{"gnome", "GNOME"}, {"plain", "Plain"}, {"sway", "Sway"}};
  std::vector<std::string> calls;
};

}  // namespace gatehall::greeter
