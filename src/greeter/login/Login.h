#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/RunLoop.h"
#include "greeter/accounts/AccountPreferences.h"
#include "greeter/login/DisplayManager.h"
#include "linux/files/SecretText.h"
#include "listing/ListedUser.h"
#include "people/Person.h"
#include "portable/formats/MessageCatalogue.h"

namespace gatehall::greeter {

/// Who logs in.
struct Whom {
  enum class Kind { Listed, Typed, Guest };
  Kind kind = Kind::Typed;
  std::string name{};                                ///< what is typed to log in; of a guest ""
  std::shared_ptr<const ListedUser> user = nullptr;  ///< of the list, where they stand in it

  /// The same person, whatever the list tells of them by now.
  friend bool operator==(const Whom& one, const Whom& other) {
    return one.kind == other.kind && one.name == other.name;
  }
};

/// What stands on the screen of the login, all of it.
struct LoginView {
  enum class Stage {
    Choosing,   ///< somebody is to be chosen
    Waiting,    ///< for the machine's answer
    Asking,     ///< the prompt is to be answered
    Told,       ///< going on is the person's, who may have messages to read first
    Beginning,  ///< the session begins
    Gone        ///< the display manager is, as the message says: nobody can log in
  };

  Stage stage = Stage::Choosing;
  std::optional<Whom> whom{};            ///< but of Choosing and Gone
  std::vector<LoginMessage> messages{};  ///< to be read, oldest first
  std::optional<LoginPrompt> prompt{};   ///< of Asking
  /// Another one with each prompt and each login: what is typed belongs to one of them.
  std::uint64_t promptNumber = 0;
  /// Another one once this screen was left: what was typed anywhere on it is for nobody who comes.
  std::uint64_t visit = 0;
  std::string hint{};       ///< the account's password hint, once it is time for it
  bool takesLong = false;   ///< of Waiting and Beginning: longer than it should
  bool isAdmitted = false;  ///< of Told: goOn begins the session, else it leads to the choice
  bool returns = false;     ///< to a session that runs: nothing of it can be chosen

  /// Of Choosing: whom the display manager wants selected.
  std::optional<Whom> selected{};
  /// Of Choosing: the automatic login comes then, and of whom.
  std::optional<std::chrono::seconds> autologinIn{};
  std::optional<Whom> autologin{};

  std::string session{};   ///< the key of the kind that will be begun
  std::string language{};  ///< of the session; "": the account's own, which isn't known
};

/// Asks what is kept of the account with that login name, and calls the handler, once, not from
/// inside the call.
using AskPreferences = std::function<void(const std::string& name,
                                          std::function<void(const AccountPreferences&)> handler)>;

/// Asks whether somebody of the list may log in, and calls the handler, once, also from inside the
/// call.
using AskAdmission =
    std::function<void(const Whom& whom, std::function<void(const Admission&)> handler)>;

/// A login from the choice of a person to the session, whatever PAM asks in between. Without a
/// toolkit: a window shows the view and calls what people do. On the main thread.
class Login {
 public:
  /// "shown" is called whenever the view is another, not from inside this. What "words" are is
  /// kept, as is what else is referred to.
  Login(DisplayManager& displayManager, RunLoop& runLoop, AskAdmission askAdmission,
        AskPreferences askPreferences, const MessageCatalogue& words, std::function<void()> shown);
  Login(const Login&) = delete;
  Login& operator=(const Login&) = delete;

  const LoginView& view() const { return mView; }

  /// The list, when it comes and whenever it is another; or that there is none for now. Whoever
  /// leaves it while they log in isn't interrupted: PAM says what becomes of them.
  void listIs(ListedUsers users);
  void listIsAway();

  void choose(const Whom& whom);        ///< begins the login, in place of another one
  void answer(const SecretText& text);  ///< the prompt
  void goOn();                          ///< of Told
  void back();                          ///< Esc: to the choice, whatever goes on
  void setSession(const std::string& key);
  void setLanguage(const std::string& locale);
  void touched();  ///< somebody is there: no automatic login

 private:
  using Stage = LoginView::Stage;
  /// What made a login begin.
  enum class Cause { Person, Hint, Timer };
  struct Question {
    LoginPrompt prompt;
    std::size_t messagesBefore;  ///< how many of the view's came before it
  };

  Whom named(const std::string& name) const;
  void openScreen();
  void chooseHinted();
  void countDown();
  void begin(Whom whom, Cause cause);
  void askAdmission();
  void admissionIs(const Admission& admission);
  void authenticate();
  void cancel();
  void preferencesAre(const AccountPreferences& preferences);
  void said(LoginMessage message);
  void asked(LoginPrompt prompt);
  void askNext();
  void ended(bool isAuthenticated);
  void failed();
  void beginSession();
  void sessionBegun(bool hasBegun);
  void left();
  void gone();
  void toChoice();
  void tell(std::string_view sentence);
  void enter(Stage stage);
  void show() const;
  bool isUnderWay() const;
  std::string offeredSession(const std::string& key) const;

  DisplayManager& mDisplayManager;
  RunLoop& mRunLoop;
  const AskAdmission mAskAdmission;
  const AskPreferences mAskPreferences;
  const MessageCatalogue& mWords;
  const std::function<void()> mShown;
  LoginView mView;
  ListedUsers mList;
  bool mKnowsList = false;      ///< or knows that there is none
  bool mAwaitsList = false;     ///< to choose whom the display manager wants chosen
  std::uint64_t mStay = 0;      ///< in a stage: what was to happen in an earlier one is stale
  std::uint64_t mCounting = 0;  ///< the same of automatic logins
  std::uint64_t mPerson = 0;    ///< the same of those who log in
  Cause mCause = Cause::Person;
  bool mAwaitsAdmission = false;    ///< before the login begins
  bool mIsBegun = false;            ///< the display manager knows of this login
  bool mIsAnswered = false;         ///< something of this login
  bool mHasSaid = false;            ///< something in it that may not have been read
  std::deque<Question> mQuestions;  ///< that aren't answered
  int mFailures = 0;                ///< of one person, in a row
  std::string mFailedName;
  AccountPreferences mPreferences;
  bool mChoseSession = false;
  bool mChoseLanguage = false;
};

}  // namespace gatehall::greeter
