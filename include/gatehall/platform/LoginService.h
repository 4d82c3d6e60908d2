#pragma once

#include <cstdint>
#include <string_view>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// Entry of the switch attributes: the user's password, a string. Present and empty: the account
/// accepts the empty password, so nobody needs to be asked.
inline constexpr std::string_view kUserPasswordKey = "UserPasswordKey";

/// Who performs a switch of the console. From the main thread; ends within the host's time limit.
/// The status is 0 once the request was accepted; what a refusal says goes to the system log.
class GATEHALL_EXPORT LoginService {
 public:
  virtual ~LoginService() = default;

  /// Locks the current session and brings up the login screen. May raise PlatformException.
  virtual std::int32_t switchToLoginScreen() = 0;

  /// Switches the console to a user, given all of the user's attributes (kind to array of strings)
  /// and, for an account with an empty password, kUserPasswordKey. Without that entry the user is
  /// asked for the password. No session is ever brought to the front without authentication. May
  /// raise PlatformException.
  virtual std::int32_t switchToUser(const Dictionary& attributes) = 0;
};

}  // namespace gatehall
