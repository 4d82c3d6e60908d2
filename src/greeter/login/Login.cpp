#include "greeter/login/Login.h"

#include <algorithm>
#include <utility>

namespace gatehall::greeter {

namespace {

/// So long the machine may think before somebody wonders.
constexpr double kLongSeconds = 6;

/// So long the service may think whether somebody may log in; then PAM decides alone.
constexpr double kAdmissionSeconds = 1;

/// With so many failures in a row it is time for the password hint.
constexpr int kFailuresBeforeHint = 3;

/// Of what is said before somebody answers; nobody reads more.
constexpr std::size_t kMostMessages = 20;

bool hasSession(const Whom& whom) {
  return whom.user != nullptr && (whom.user->suspended || whom.user->current);
}

}  // namespace

Login::Login(DisplayManager& displayManager, RunLoop& runLoop, AskAdmission askAdmission,
             AskPreferences askPreferences, const MessageCatalogue& words,
             std::function<void()> shown)
    : mDisplayManager(displayManager),
      mRunLoop(runLoop),
      mAskAdmission(std::move(askAdmission)),
      mAskPreferences(std::move(askPreferences)),
      mWords(words),
      mShown(std::move(shown)) {
  mDisplayManager.listen({.said = [this](LoginMessage message) { said(std::move(message)); },
                          .asked = [this](LoginPrompt prompt) { asked(std::move(prompt)); },
                          .ended = [this](bool isAuthenticated) { ended(isAuthenticated); },
                          .sessionBegun = [this](bool hasBegun) { sessionBegun(hasBegun); },
                          .left = [this] { left(); },
                          .reset =
                              [this] {
                                left();
                                openScreen();
                                if (mKnowsList) chooseHinted();
                                show();
                              },
                          .gone = [this] { gone(); }});
  openScreen();
}

/// What the display manager wants of the screen, to begin with.
void Login::openScreen() {
  const auto& hints = mDisplayManager.hints();
  mView.selected.reset();
  if (hints.selectUser) {
    mView.selected = named(*hints.selectUser);
  } else if (hints.selectsGuest && hints.hasGuest) {
    mView.selected = Whom{.kind = Whom::Kind::Guest};
  }
  // What covers somebody's session lets nobody in by itself.
  const bool hasAutologin = hints.autologinDelay.count() > 0 && !hints.isLock;
  if (hasAutologin && (hints.autologinGuest || hints.autologinUser)) {
    mView.autologin = hints.autologinGuest ? Whom{.kind = Whom::Kind::Guest}
                                           : named(hints.autologinUser.value_or(""));
    mView.autologinIn = hints.autologinDelay;
    countDown();
  }
  mAwaitsList = hints.selectUser && !mView.autologin;
}

Whom Login::named(const std::string& name) const {
  const auto found = std::find_if(mList.begin(), mList.end(),
                                  [&](const auto& user) { return user->shortName == name; });
  if (found == mList.end()) return {.kind = Whom::Kind::Typed, .name = name};
  return {.kind = Whom::Kind::Listed, .name = name, .user = *found};
}

/// Whom a switch or a lock is for is asked for the password at once.
void Login::chooseHinted() {
  if (!std::exchange(mAwaitsList, false) || mView.stage != Stage::Choosing) return;
  begin(named(mDisplayManager.hints().selectUser.value_or("")), Cause::Hint);
}

void Login::countDown() {
  mRunLoop.performAfterDelay(1, [this, counting = mCounting] {
    if (counting != mCounting || !mView.autologinIn) return;
    if (--*mView.autologinIn > std::chrono::seconds(0)) {
      countDown();
      show();
    } else {
      begin(*mView.autologin, Cause::Timer);
    }
  });
}

void Login::listIs(ListedUsers users) {
  mList = std::move(users);
  mKnowsList = true;
  const auto refresh = [this](std::optional<Whom>& whom) {
    if (!whom || whom->kind == Whom::Kind::Guest) return;
    const auto now = named(whom->name);
    if (whom->kind == Whom::Kind::Typed && mDisplayManager.hints().hidesUsers) return;
    // Whoever isn't in the list any more is still known by what stood there.
    if (now.user) whom = now;
  };
  refresh(mView.whom);
  refresh(mView.selected);
  refresh(mView.autologin);
  if (mView.whom && mView.stage != Stage::Beginning) mView.returns = hasSession(*mView.whom);
  chooseHinted();
  show();
}

void Login::listIsAway() {
  mKnowsList = true;
  chooseHinted();
}

void Login::touched() {
  ++mCounting;
  mView.autologin.reset();
  if (std::exchange(mView.autologinIn, std::nullopt)) show();
}

void Login::choose(const Whom& whom) {
  if (mView.stage == Stage::Gone || mView.stage == Stage::Beginning) return;
  // Where users are hidden nobody is told, either, that there is one of that name.
  const bool isLookedUp = whom.kind == Whom::Kind::Typed && !mDisplayManager.hints().hidesUsers;
  begin(isLookedUp ? named(whom.name) : whom, Cause::Person);
}

void Login::begin(Whom whom, Cause cause) {
  ++mCounting;
  ++mPerson;
  mAwaitsList = false;
  mCause = cause;
  mPreferences = {};
  mChoseSession = false;
  mChoseLanguage = false;
  if (whom.name != mFailedName) mFailures = 0;
  mView = {.stage = Stage::Waiting,
           .whom = std::move(whom),
           .promptNumber = mView.promptNumber + 1,
           .visit = mView.visit,
           .session = offeredSession("")};
  mView.returns = hasSession(*mView.whom);
  if (mView.whom->kind != Whom::Kind::Guest && mView.whom->name.empty()) {
    // Else PAM would ask for a name under the name of this person, and take anybody's.
    cancel();
    tell(mWords.translated("You can't log in now, and the computer doesn't say why."));
    enter(Stage::Told);
    return;
  }
  if (mView.whom->kind == Whom::Kind::Listed && cause != Cause::Timer) {
    askAdmission();
  } else {
    authenticate();
  }
  const bool isHidden = cause == Cause::Person && mDisplayManager.hints().hidesUsers;
  if (mView.whom->kind == Whom::Kind::Guest || isHidden) return;
  mAskPreferences(mView.whom->name,
                  [this, person = mPerson](const AccountPreferences& preferences) {
                    if (person == mPerson) preferencesAre(preferences);
                  });
}

/// Whoever is refused is told so before they are asked for anything.
void Login::askAdmission() {
  // Nothing more is to come of whoever was chosen before.
  cancel();
  mAwaitsAdmission = true;
  enter(Stage::Waiting);
  const auto isAwaited = [this, person = mPerson] { return person == mPerson && mAwaitsAdmission; };
  mRunLoop.performAfterDelay(kAdmissionSeconds, [this, isAwaited] {
    if (isAwaited()) admissionIs({});
  });
  mAskAdmission(*mView.whom, [this, isAwaited](const Admission& admission) {
    if (isAwaited()) admissionIs(admission);
  });
}

void Login::admissionIs(const Admission& admission) {
  mAwaitsAdmission = false;
  const bool isRefused = admission.state == Admission::State::MayNotLogIn;
  if (!isRefused || admission.isByHours) {
    if (isRefused && !admission.sentence.empty()) {
      mView.messages.push_back({LoginMessage::Kind::Information, admission.sentence});
    }
    authenticate();
    return;
  }
  tell(admission.sentence.empty()
           ? mWords.translated("You can't log in now, and the computer doesn't say why.")
           : admission.sentence);
  enter(Stage::Told);
}

void Login::authenticate() {
  mIsBegun = true;
  mIsAnswered = false;
  mHasSaid = false;
  mQuestions.clear();
  if (mCause == Cause::Timer) {
    mDisplayManager.authenticateForAutologin();
  } else if (mView.whom->kind == Whom::Kind::Guest) {
    mDisplayManager.authenticateAsGuest();
  } else {
    mDisplayManager.authenticate(mView.whom->name);
  }
  enter(Stage::Waiting);
}

void Login::preferencesAre(const AccountPreferences& preferences) {
  mPreferences = preferences;
  if (!mChoseSession) mView.session = offeredSession(preferences.session);
  if (!mChoseLanguage) mView.language = preferences.language;
  if (mFailures >= kFailuresBeforeHint) mView.hint = preferences.passwordHint;
  show();
}

/// The kind of session with that key, or else the one that the display manager begins.
std::string Login::offeredSession(const std::string& key) const {
  const auto sessions = mDisplayManager.sessions();
  const auto isOffered = [&](const std::string& wanted) {
    return std::any_of(sessions.begin(), sessions.end(),
                       [&](const SessionKind& each) { return each.key == wanted; });
  };
  if (isOffered(key)) return key;
  const auto& fallback = mDisplayManager.hints().defaultSession;
  if (isOffered(fallback) || sessions.empty()) return fallback;
  return sessions.front().key;
}

void Login::said(LoginMessage message) {
  if (mView.stage != Stage::Waiting && mView.stage != Stage::Asking) return;
  // PAM may say what the service said already.
  if (mQuestions.empty()) {
    std::erase_if(mView.messages, [&](const auto& each) { return each.text == message.text; });
  }
  if (mView.messages.size() < kMostMessages) mView.messages.push_back(std::move(message));
  mHasSaid = true;
  ++mStay;  // it answers; what it waits for now may be a person's finger
  mView.takesLong = false;
  show();
}

void Login::asked(LoginPrompt prompt) {
  if (mView.stage != Stage::Waiting && mView.stage != Stage::Asking) return;
  mQuestions.push_back({std::move(prompt), mView.messages.size()});
  if (mView.stage == Stage::Waiting) askNext();
}

void Login::askNext() {
  mView.prompt = mQuestions.front().prompt;
  ++mView.promptNumber;
  enter(Stage::Asking);
}

void Login::answer(const SecretText& text) {
  if (mView.stage != Stage::Asking) return;
  mIsAnswered = true;
  const auto read = mQuestions.front().messagesBefore;
  mQuestions.pop_front();
  mDisplayManager.answer(text);
  if (mQuestions.empty()) {
    mHasSaid = false;
    mView.messages.clear();
    enter(Stage::Waiting);
    return;
  }
  // What was said behind this prompt is for those that were asked together with it.
  mView.messages.erase(mView.messages.begin(),
                       mView.messages.begin() + static_cast<std::ptrdiff_t>(read));
  for (auto& each : mQuestions) each.messagesBefore -= read;
  askNext();
}

void Login::ended(bool isAuthenticated) {
  if (mView.stage != Stage::Waiting && mView.stage != Stage::Asking) return;
  mQuestions.clear();
  if (!isAuthenticated) {
    failed();
    return;
  }
  mFailures = 0;
  // Nobody is let in, where no question was asked, by a screen that only came to the front.
  const bool isUnasked = mCause == Cause::Hint && !mIsAnswered;
  if (mCause != Cause::Timer && (mHasSaid || isUnasked)) {
    mView.isAdmitted = true;
    enter(Stage::Told);
  } else {
    beginSession();
  }
}

void Login::failed() {
  if (mIsAnswered) {
    mFailedName = mView.whom->name;
    if (++mFailures >= kFailuresBeforeHint) mView.hint = mPreferences.passwordHint;
  }
  if (mHasSaid) {
    enter(Stage::Told);
  } else if (!mIsAnswered) {
    mView.messages.clear();
    tell(mWords.translated("You can't log in now, and the computer doesn't say why."));
    enter(Stage::Told);
  } else {
    tell(mView.whom->kind == Whom::Kind::Typed
             ? mWords.translated("The name or the password is wrong. Please try again.")
             : mWords.translated("That is wrong. Please try again."));
    authenticate();
  }
}

void Login::goOn() {
  if (mView.stage != Stage::Told) return;
  if (mView.isAdmitted) {
    beginSession();
  } else {
    toChoice();
  }
}

void Login::beginSession() {
  mView.messages.clear();
  enter(Stage::Beginning);
  std::string session;
  if (mChoseSession) {
    session = mView.session;
  } else if (mCause == Cause::Timer) {
    session = mDisplayManager.hints().autologinSession;
  }
  if (mView.returns) {
    mDisplayManager.beginSession("");
    return;
  }
  if (mChoseLanguage) mDisplayManager.setLanguage(mView.language);
  mDisplayManager.beginSession(session);
}

void Login::sessionBegun(bool hasBegun) {
  if (mView.stage != Stage::Beginning || hasBegun) return;
  tell(mWords.translated("The session could not begin."));
  mView.isAdmitted = false;
  enter(Stage::Told);
}

bool Login::isUnderWay() const {
  return mView.stage == Stage::Waiting || mView.stage == Stage::Asking ||
         mView.stage == Stage::Told;
}

void Login::back() {
  touched();
  mAwaitsList = false;
  // A session that begins covers the screen in a moment, unless something is wrong.
  const bool isStuck = mView.stage == Stage::Beginning && mView.takesLong;
  if (!isUnderWay() && !isStuck) return;
  cancel();
  toChoice();
}

void Login::cancel() {
  if (std::exchange(mIsBegun, false)) mDisplayManager.cancel();
}

void Login::toChoice() {
  ++mPerson;
  mIsBegun = false;
  mQuestions.clear();
  auto whom = std::move(mView.whom);
  mView = {
      .promptNumber = mView.promptNumber + 1, .visit = mView.visit, .selected = std::move(whom)};
  enter(Stage::Choosing);
}

void Login::left() {
  if (mView.stage == Stage::Gone) return;
  ++mCounting;
  if (isUnderWay()) cancel();
  mFailures = 0;
  mAwaitsList = false;
  mView.whom.reset();
  ++mView.visit;
  toChoice();
}

void Login::gone() {
  ++mCounting;
  ++mPerson;
  mQuestions.clear();
  mView = {.promptNumber = mView.promptNumber + 1, .visit = mView.visit};
  tell(mWords.translated(
      "Nobody can log in here now: the service that logs people in has stopped. It may start again "
      "by itself."));
  enter(Stage::Gone);
}

void Login::setSession(const std::string& key) {
  if (!isUnderWay() || mView.returns || offeredSession(key) != key) return;
  mChoseSession = true;
  mView.session = key;
  show();
}

void Login::setLanguage(const std::string& locale) {
  if (!isUnderWay() || mView.returns) return;
  mChoseLanguage = !locale.empty();
  mView.language = mChoseLanguage ? locale : mPreferences.language;
  show();
}

void Login::tell(std::string_view sentence) {
  mView.messages.push_back({LoginMessage::Kind::Error, std::string(sentence)});
}

void Login::enter(Stage stage) {
  mView.stage = stage;
  mView.takesLong = false;
  if (stage != Stage::Asking) mView.prompt.reset();
  ++mStay;
  if (stage == Stage::Waiting || stage == Stage::Beginning) {
    mRunLoop.performAfterDelay(kLongSeconds, [this, stay = mStay] {
      if (stay != mStay) return;
      mView.takesLong = true;
      show();
    });
  }
  show();
}

void Login::show() const { mShown(); }

}  // namespace gatehall::greeter
