#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "switcher/SwitchFlow.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"

namespace gatehall {

/// The machine of the whole cast. ann, who owns the console, runs the tool.
class SwitchWorld : public InstalledWorld {
 protected:
  static constexpr auto kRefusedCaller =
      "Unable to Fast User Switch: User must be the current console user or root.";
  static constexpr auto kFailedSwitch =
      "Unable to Fast User Switch: unable to switch to the selected user.";
  static constexpr auto kLoginScreen = "login screen";

  SwitchWorld() {
    install(cast::machineOfAll(R"("process": { "effectiveUserID": 1000 }, "sessions": {
      "current": 1,
      "list": [ { "id": 1, "userID": 1000, "userName": "ann", "loginDone": true } ] })"));
  }

  static void run(std::initializer_list<std::string_view> words) {
    runSwitch(std::vector<std::string_view>(words));
  }

  /// Undoes what a switch did, for another run.
  void returnConsole() { mWorld->sessions().setCurrent(1); }

  /// What the login service was asked for, in order: kLoginScreen, or whom to switch to and how
  /// ("bob", "bob without a password").
  Strings switches() const {
    Strings texts;
    for (const auto& request : mWorld->loginService().requests()) {
      texts.push_back(request.operation == "switchToLoginScreen" ? kLoginScreen
                                                                 : textOf(request.attributes));
    }
    return texts;
  }

  std::shared_ptr<WorldRecord> record(std::string_view name,
                                      std::string_view node = cast::kLocalNode) {
    return mWorld->directory().node(node)->record("Users", name);
  }

 private:
  static std::string textOf(const Dictionary& attributes) {
    auto text = attributes.at("RecordName").array()->front().description();
    const auto password = attributes.find(kUserPasswordKey);
    if (password == attributes.end()) return text;
    return text + (password->second == Value("") ? " without a password" : " with a password");
  }
};

}  // namespace gatehall
