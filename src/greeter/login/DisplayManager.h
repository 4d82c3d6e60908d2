#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "linux/files/SecretText.h"

namespace gatehall::greeter {

/// A kind of session that can be begun.
struct SessionKind {
  std::string key;
  std::string name;  ///< in the greeter's language
};

/// What the display manager wants of its login screen.
struct Hints {
  std::optional<std::string> selectUser{};
  bool selectsGuest = false;
  bool isLock = false;  ///< it covers a session that was left
  bool hidesUsers = false;
  bool allowsManualLogin = false;
  bool hasGuest = false;
  std::optional<std::string> autologinUser{};
  bool autologinGuest = false;
  std::chrono::seconds autologinDelay{0};  ///< 0: no automatic login
  std::string autologinSession{};          ///< a SessionKind's key; "": the account's own
  std::string defaultSession{};            ///< a SessionKind's key
};

/// One piece of what the machine says while somebody logs in.
struct LoginMessage {
  enum class Kind { Information, Error };
  Kind kind;
  std::string text;

  friend bool operator==(const LoginMessage&, const LoginMessage&) = default;
};

struct LoginPrompt {
  std::string text;
  bool isSecret;  ///< what is typed isn't shown

  friend bool operator==(const LoginPrompt&, const LoginPrompt&) = default;
};

/// Who is told what comes of a login. Called by the main loop, never from inside a call below.
struct LoginListener {
  std::function<void(LoginMessage)> said;
  std::function<void(LoginPrompt)> asked;
  std::function<void(bool isAuthenticated)> ended;
  std::function<void(bool hasBegun)> sessionBegun;  ///< false: it could not
  std::function<void()> left;   ///< a session is in front now, and this screen stays for later
  std::function<void()> reset;  ///< this screen is in front again; the hints may be others
  std::function<void()> gone;   ///< the display manager: nothing is answered any more
};

/// The display manager as a login screen talks to it. On the main thread; nothing waits.
class DisplayManager {
 public:
  virtual ~DisplayManager() = default;

  virtual void listen(LoginListener listener) = 0;
  virtual const Hints& hints() const = 0;
  virtual std::vector<SessionKind> sessions() const = 0;

  /// Each begins a login in place of the one before, of which nothing more is told.
  virtual void authenticate(const std::string& name) = 0;
  virtual void authenticateAsGuest() = 0;
  virtual void authenticateForAutologin() = 0;
  /// Answers the oldest prompt that wasn't answered.
  virtual void answer(const SecretText& text) = 0;
  /// Nothing more is told of the login, if there is one.
  virtual void cancel() = 0;
  /// The language ("de_DE.UTF-8") of the session that is begun next.
  virtual void setLanguage(const std::string& locale) = 0;
  /// Begins a session of that kind for whom was authenticated ("": the account's own), or returns
  /// to the one they have.
  virtual void beginSession(const std::string& key) = 0;
};

}  // namespace gatehall::greeter
