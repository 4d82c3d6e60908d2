#include "menu/Choice.h"

#include <utility>

#include "people/Names.h"

namespace gatehall::menu {

namespace {

/// A display manager may start another screen first.
constexpr double kLongestSwitch = 12;

}  // namespace

Choice::Choice(std::uint32_t ownUser, RunLoop& runLoop, ChoiceHost host, Words words,
               std::function<void()> shown)
    : mOwnUser(ownUser),
      mRunLoop(runLoop),
      mHost(std::move(host)),
      mWords(std::move(words)),
      mShown(std::move(shown)),
      mTurn(std::make_shared<int>()) {}

void Choice::choose(const Person& person) {
  if (mView.stage == ChoiceView::Stage::Switching) return;
  mTurn = std::make_shared<int>();
  mIsAwaited = false;
  if (person.user->uid == mOwnUser) {
    show({ChoiceView::Stage::Over});
    return;
  }
  mTarget = {isolated(shownName(*person.user)), person.user->uid};
  show({ChoiceView::Stage::Asking});
  mHost.ask(person, [this, turn = std::weak_ptr(mTurn)](const Admission& admission) {
    if (!turn.expired()) answered(admission);
  });
}

void Choice::chooseLoginScreen() {
  if (mView.stage == ChoiceView::Stage::Switching) return;
  mTarget = {};
  run();
}

void Choice::back() {
  if (mView.stage == ChoiceView::Stage::Switching) return;
  mIsAwaited = false;
  mTurn = std::make_shared<int>();
  show({});
}

void Choice::know(const ListedUsers& users) {
  mIsInFront.reset();
  mFront.reset();
  for (const auto& user : users) {
    if (user->current) mFront = user->uid;
    if (user->uid == mOwnUser) mIsInFront = user->current;
  }
  if (mIsAwaited && hasCome()) {
    mIsAwaited = false;
    mTurn = std::make_shared<int>();
    show({ChoiceView::Stage::Over});
  }
}

void Choice::answered(const Admission& admission) {
  // Without an answer gatehall-switch decides, as it does in any case.
  if (admission.state != Admission::State::MayNotLogIn) {
    run();
    return;
  }
  // TRANSLATORS: %s is somebody's name.
  auto title = withPlace(mWords.translated("%s may not log in here now."), mTarget.name);
  if (admission.sentence.empty()) {
    fail(std::move(title), {});
    return;
  }
  // TRANSLATORS: %s is the sentence that the login screen shows whoever may not log in.
  fail(std::move(title),
       withPlace(mWords.translated("The login screen would say: “%s”"), admission.sentence));
}

void Choice::run() {
  mTurn = std::make_shared<int>();
  mIsAwaited = true;
  mWasInFront = mIsInFront.value_or(false);
  std::vector<std::string> words{"-suspend"};
  auto title = std::string(mWords.translated("Going to the login screen…"));
  if (mTarget.uid) {
    words = {"-switchToUserID", std::to_string(*mTarget.uid)};
    // TRANSLATORS: %s is somebody's name.
    title = withPlace(mWords.translated("Switching to %s…"), mTarget.name);
  }
  show({ChoiceView::Stage::Switching, std::move(title)});
  mHost.run(words, [this, turn = std::weak_ptr(mTurn)](const SwitchRun& run) {
    if (!turn.expired()) ended(run);
  });
}

void Choice::ended(const SwitchRun& run) {
  if (run.end == SwitchRun::End::NotStarted) {
    fail(std::string(mWords.translated("The program that switches can't be started.")), run.why);
    return;
  }
  if (run.end == SwitchRun::End::Whole && !mIsInFront) {
    // Of whoever isn't in the list nothing more is to be seen.
    show({ChoiceView::Stage::Over});
    return;
  }
  const auto say = [this, turn = std::weak_ptr(mTurn)] {
    if (turn.expired()) return;
    // TRANSLATORS: %s is somebody's name.
    fail(
        mTarget.uid
            ? withPlace(mWords.translated("The switch to %s was asked for, but it hasn't "
                                          "come about."),
                        mTarget.name)
            : std::string(mWords.translated("The login screen was asked for, but it hasn't come.")),
        std::string(
            mWords.translated("The system log says why. Ask whoever looks after this computer.")));
  };
  if (run.end == SwitchRun::End::Broken) {
    say();
  } else {
    mRunLoop.performAfterDelay(kLongestSwitch, say);
  }
}

void Choice::fail(std::string title, std::string text) {
  mTurn = std::make_shared<int>();
  show({ChoiceView::Stage::Choosing, std::move(title), std::move(text)});
}

void Choice::show(ChoiceView view) {
  if (view == mView) return;
  mView = std::move(view);
  mShown();
}

bool Choice::hasCome() const {
  return (mWasInFront && mIsInFront == false) || (mTarget.uid && mFront == mTarget.uid);
}

}  // namespace gatehall::menu
