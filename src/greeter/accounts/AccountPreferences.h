#pragma once

#include <string>

namespace gatehall::greeter {

/// What AccountsService keeps of an account for its logins. Empty texts where it keeps nothing.
struct AccountPreferences {
  std::string session{};       ///< a SessionKind's key, of the session begun last
  std::string language{};      ///< of its sessions: "de_DE.UTF-8"
  std::string passwordHint{};  ///< what shall remind its owner of the password

  friend bool operator==(const AccountPreferences&, const AccountPreferences&) = default;
};

}  // namespace gatehall::greeter
