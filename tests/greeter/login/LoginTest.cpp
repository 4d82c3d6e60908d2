#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "greeter/login/Login.h"
#include "tests/greeter/login/NotedDisplayManager.h"
#include "world/World.h"
#include "world/WorldRunLoop.h"

namespace gatehall::greeter {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Stage = LoginView::Stage;
using Kind = LoginMessage::Kind;

constexpr const char* kWrong = "That is wrong. Please try again.";

std::shared_ptr<const ListedUser> listedAs(const std::string& name, std::uint32_t uid,
                                           bool isLoggedIn = false) {
  ListedUser user;
  user.shortName = name;
  user.uid = uid;
  user.suspended = isLoggedIn;
  return std::make_shared<ListedUser>(user);
}

class LoginTest : public testing::Test {
 protected:
  Login& login() {
    if (!mLogin) {
      mLogin = std::make_unique<Login>(
          mManager, mWorld->runLoop(),
          [this](const Whom& whom, std::function<void(const Admission&)> handler) {
            if (mIsServiceSlow) {
              mAnswers.push_back(std::move(handler));
            } else {
              handler(whom.name == "dana" ? mDanas : Admission{});
            }
          },
          [this](const std::string& name, std::function<void(const AccountPreferences&)> handler) {
            mAsked.push_back(name);
            mHandlers.push_back(std::move(handler));
          },
          mWords, [this] { ++mShown; });
    }
    return *mLogin;
  }
  const LoginView& view() { return login().view(); }

  void chooseCarol() { login().choose({Whom::Kind::Listed, "carol", listedAs("carol", 1002)}); }
  void chooseDana() { login().choose({Whom::Kind::Listed, "dana", listedAs("dana", 1003)}); }
  void ask(const std::string& text = "Password: ", bool isSecret = true) {
    mManager.says.asked({text, isSecret});
  }
  void say(const std::string& text, Kind kind = Kind::Information) {
    mManager.says.said({kind, text});
  }
  void end(bool isAuthenticated) { mManager.says.ended(isAuthenticated); }
  void answer(const std::string& text) { login().answer(SecretText(text)); }
  void failOnce() {
    ask();
    answer("guess");
    end(false);
  }
  void remember(const AccountPreferences& preferences) { mHandlers.back()(preferences); }

  std::vector<std::string> takeCalls() { return std::exchange(mManager.calls, {}); }
  std::vector<std::string> messages() {
    std::vector<std::string> texts;
    for (const auto& each : view().messages) texts.push_back(each.text);
    return texts;
  }
  std::string prompt() { return view().prompt ? view().prompt->text : "none"; }

  const std::shared_ptr<World> mWorld = std::make_shared<World>();
  const MessageCatalogue mWords;
  NotedDisplayManager mManager;
  Admission mDanas{.state = Admission::State::Unknown};
  bool mIsServiceSlow = false;
  std::vector<std::function<void(const Admission&)>> mAnswers;  ///< that a slow service owes
  std::vector<std::string> mAsked;                              ///< whose preferences
  std::vector<std::function<void(const AccountPreferences&)>> mHandlers;
  int mShown = 0;

 private:
  std::unique_ptr<Login> mLogin;
};

TEST_F(LoginTest, GoesFromThePasswordToTheSession) {
  chooseCarol();
  EXPECT_EQ(view().stage, Stage::Waiting);
  EXPECT_EQ(view().whom->name, "carol");
  ask();
  EXPECT_EQ(view().stage, Stage::Asking);
  EXPECT_EQ(view().prompt, (LoginPrompt{"Password: ", true}));
  answer("secret");
  EXPECT_EQ(view().stage, Stage::Waiting);
  EXPECT_EQ(view().prompt, std::nullopt);
  end(true);
  EXPECT_EQ(view().stage, Stage::Beginning);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "answer secret", "begin "));
}

TEST_F(LoginTest, ShowsEveryStep) {
  chooseCarol();
  const std::vector<std::function<void()>> steps{[this] { say("Welcome"); }, [this] { ask(); },
                                                 [this] { answer("a"); }, [this] { end(true); },
                                                 [this] { mManager.says.sessionBegun(false); }};
  for (std::size_t index = 0; index < steps.size(); ++index) {
    const auto before = mShown;
    steps[index]();
    EXPECT_GT(mShown, before) << index;
  }
}

TEST_F(LoginTest, AsksTheNextPromptOnceTheOneBeforeIsAnswered) {
  chooseCarol();
  ask("Password: ");
  const auto first = view().promptNumber;
  answer("secret");
  ask("Code: ", false);
  EXPECT_EQ(view().prompt, (LoginPrompt{"Code: ", false}));
  EXPECT_NE(view().promptNumber, first);
  answer("123456");
  end(true);
  EXPECT_THAT(takeCalls(),
              ElementsAre("authenticate carol", "answer secret", "answer 123456", "begin "));
}

TEST_F(LoginTest, AsksPromptsThatComeTogetherOneByOne) {
  chooseCarol();
  ask("Password: ");
  ask("Code: ");
  EXPECT_EQ(prompt(), "Password: ");
  const auto first = view().promptNumber;
  answer("secret");
  EXPECT_EQ(prompt(), "Code: ");
  EXPECT_NE(view().promptNumber, first);
  answer("123456");
  EXPECT_EQ(view().stage, Stage::Waiting);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "answer secret", "answer 123456"));
}

TEST_F(LoginTest, KeepsMessagesOnTheScreenUntilThePromptBehindThemIsAnswered) {
  chooseCarol();
  say("The system is going down at noon.");
  say("Last failed login: yesterday", Kind::Error);
  EXPECT_EQ(view().stage, Stage::Waiting);
  ask();
  EXPECT_THAT(view().messages,
              ElementsAre(LoginMessage{Kind::Information, "The system is going down at noon."},
                          LoginMessage{Kind::Error, "Last failed login: yesterday"}));
  answer("secret");
  EXPECT_THAT(view().messages, IsEmpty());
}

TEST_F(LoginTest, KeepsWhatIsSaidBetweenPromptsThatComeTogetherForTheNextOne) {
  chooseCarol();
  say("one");
  ask("First: ");
  say("two");
  ask("Second: ");
  say("three");
  ask("Third: ");
  EXPECT_THAT(messages(), ElementsAre("one", "two", "three"));
  answer("1");
  EXPECT_EQ(prompt(), "Second: ");
  EXPECT_THAT(messages(), ElementsAre("two", "three"));
  answer("2");
  EXPECT_THAT(messages(), ElementsAre("three"));
  answer("3");
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LoginTest, ShowsNoMoreMessagesThanAnybodyReads) {
  chooseCarol();
  for (int count = 0; count < 100; ++count) say(std::to_string(count));
  EXPECT_THAT(messages(), SizeIs(20));
  EXPECT_EQ(messages().front(), "0");
  ask();
  answer("secret");
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LoginTest, KeepsThePromptWhileSomethingIsSaid) {
  chooseCarol();
  ask();
  const auto number = view().promptNumber;
  say("Or put your finger on the reader.");
  EXPECT_EQ(view().stage, Stage::Asking);
  EXPECT_EQ(view().promptNumber, number);
  EXPECT_THAT(messages(), ElementsAre("Or put your finger on the reader."));
}

TEST_F(LoginTest, SaysThatAPasswordIsWrongAndAsksAgain) {
  chooseCarol();
  takeCalls();
  failOnce();
  EXPECT_EQ(view().stage, Stage::Waiting);
  EXPECT_THAT(takeCalls(), ElementsAre("answer guess", "authenticate carol"));
  ask();
  EXPECT_THAT(view().messages, ElementsAre(LoginMessage{Kind::Error, kWrong}));
  answer("secret");
  EXPECT_THAT(view().messages, IsEmpty());
  end(true);
  EXPECT_EQ(view().stage, Stage::Beginning);
}

TEST_F(LoginTest, TakesNoMoreOfATypedNameThanThatItOrThePasswordIsWrong) {
  login().choose({Whom::Kind::Typed, "nobody"});
  failOnce();
  EXPECT_THAT(messages(), ElementsAre("The name or the password is wrong. Please try again."));
}

TEST_F(LoginTest, ShowsTheHintWithTheThirdFailure) {
  chooseCarol();
  remember({.passwordHint = "the cat"});
  failOnce();
  failOnce();
  EXPECT_EQ(view().hint, "");
  failOnce();
  EXPECT_EQ(view().hint, "the cat");
  ask();
  EXPECT_EQ(view().hint, "the cat");
}

TEST_F(LoginTest, ShowsAHintThatComesLate) {
  chooseCarol();
  for (int failures = 0; failures < 3; ++failures) failOnce();
  EXPECT_EQ(view().hint, "");
  remember({.passwordHint = "the cat"});
  EXPECT_EQ(view().hint, "the cat");
}

TEST_F(LoginTest, CountsFailuresOverTheChoiceButNotOverPeople) {
  chooseCarol();
  failOnce();
  failOnce();
  login().back();
  chooseCarol();
  remember({.passwordHint = "the cat"});
  failOnce();
  EXPECT_EQ(view().hint, "the cat");
  login().back();
  EXPECT_EQ(view().hint, "");
  login().choose({Whom::Kind::Listed, "dana", listedAs("dana", 1003)});
  remember({.passwordHint = "the dog"});
  failOnce();
  EXPECT_EQ(view().hint, "");
}

TEST_F(LoginTest, ForgetsFailuresOnceALoginSucceeds) {
  chooseCarol();
  failOnce();
  failOnce();
  ask();
  answer("secret");
  end(true);
  mManager.says.sessionBegun(false);
  chooseCarol();
  remember({.passwordHint = "the cat"});
  failOnce();
  EXPECT_EQ(view().hint, "");
}

TEST_F(LoginTest, ChangesAnExpiredPasswordInPlace) {
  chooseCarol();
  ask();
  answer("old");
  say("You are required to change your password immediately.");
  ask("Current password: ");
  EXPECT_THAT(messages(), ElementsAre("You are required to change your password immediately."));
  answer("old");
  ask("New password: ");
  answer("short");
  say("BAD PASSWORD: it is too short", Kind::Error);
  ask("New password: ");
  EXPECT_THAT(messages(), ElementsAre("BAD PASSWORD: it is too short"));
  answer("much longer");
  ask("Retype new password: ");
  answer("much longer");
  end(true);
  EXPECT_EQ(view().stage, Stage::Beginning);
}

TEST_F(LoginTest, LeavesTheSentenceOfARefusalOnTheScreen) {
  chooseCarol();
  ask();
  answer("secret");
  say("You may not log in on this computer: not before 16:00.", Kind::Error);
  end(false);
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_FALSE(view().isAdmitted);
  EXPECT_THAT(view().messages,
              ElementsAre(LoginMessage{Kind::Error,
                                       "You may not log in on this computer: not before 16:00."}));
  takeCalls();
  login().goOn();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_EQ(view().selected->name, "carol");
  EXPECT_THAT(view().messages, IsEmpty());
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, SaysSoWhenSomebodyIsRefusedWithoutAQuestionOrAWord) {
  chooseCarol();
  end(false);
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_FALSE(view().isAdmitted);
  EXPECT_THAT(messages(), ElementsAre("You can't log in now, and the computer doesn't say why."));
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol"));
}

TEST_F(LoginTest, EndsALoginThatPamEndsWhileItAsks) {
  chooseCarol();
  ask();
  say("Too late.", Kind::Error);
  end(false);
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_EQ(view().prompt, std::nullopt);
  answer("secret");
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol"));
}

TEST_F(LoginTest, BeginsTheSessionOfAnAccountWithoutPasswordAtOnce) {
  login().choose({Whom::Kind::Listed, "bob", listedAs("bob", 1001)});
  end(true);
  EXPECT_EQ(view().stage, Stage::Beginning);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate bob", "begin "));
}

TEST_F(LoginTest, HasMessagesReadBeforeTheSessionCoversThem) {
  chooseCarol();
  ask();
  answer("secret");
  say("Your password will expire in 3 days.");
  end(true);
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_TRUE(view().isAdmitted);
  EXPECT_THAT(messages(), ElementsAre("Your password will expire in 3 days."));
  takeCalls();
  login().goOn();
  EXPECT_EQ(view().stage, Stage::Beginning);
  EXPECT_THAT(takeCalls(), ElementsAre("begin "));
}

TEST_F(LoginTest, GoesOnOnlyFromWhatWasTold) {
  login().goOn();
  EXPECT_EQ(view().stage, Stage::Choosing);
  chooseCarol();
  login().goOn();
  EXPECT_EQ(view().stage, Stage::Waiting);
  ask();
  login().goOn();
  EXPECT_EQ(view().stage, Stage::Asking);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol"));
}

TEST_F(LoginTest, SaysThatTheSessionCouldNotBegin) {
  chooseCarol();
  end(true);
  mManager.says.sessionBegun(false);
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_FALSE(view().isAdmitted);
  EXPECT_THAT(messages(), ElementsAre("The session could not begin."));
  login().goOn();
  EXPECT_EQ(view().stage, Stage::Choosing);
}

TEST_F(LoginTest, IsLeftInAnyStageByEsc) {
  const std::vector<std::pair<Stage, std::function<void()>>> ways{
      {Stage::Waiting, [] {}},
      {Stage::Asking, [this] { ask(); }},
      {Stage::Waiting,
       [this] {
         ask();
         answer("secret");
       }},
      {Stage::Told,
       [this] {
         say("No.");
         end(false);
       }},
      {Stage::Told, [this] {
         say("Yes.");
         end(true);
       }}};
  for (const auto& [stage, go] : ways) {
    chooseCarol();
    go();
    ASSERT_EQ(view().stage, stage);
    takeCalls();
    login().back();
    EXPECT_EQ(view().stage, Stage::Choosing);
    EXPECT_EQ(view().whom, std::nullopt);
    EXPECT_EQ(view().prompt, std::nullopt);
    EXPECT_THAT(view().messages, IsEmpty());
    EXPECT_FALSE(view().isAdmitted);
    EXPECT_EQ(view().selected->name, "carol");
    EXPECT_THAT(takeCalls(), ElementsAre("cancel"));
  }
}

TEST_F(LoginTest, HearsNothingThatComesLateOfACancelledLogin) {
  chooseCarol();
  ask();
  login().back();
  takeCalls();
  say("Welcome");
  ask("Code: ");
  end(true);
  mManager.says.sessionBegun(false);
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_THAT(view().messages, IsEmpty());
  EXPECT_EQ(view().prompt, std::nullopt);
  answer("secret");
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, HearsNoPreferencesOfAnybodyElse) {
  chooseCarol();
  login().choose({Whom::Kind::Listed, "dana", listedAs("dana", 1003)});
  EXPECT_THAT(mAsked, ElementsAre("carol", "dana"));
  mHandlers[0]({.session = "sway", .language = "fr_FR.UTF-8"});
  EXPECT_EQ(view().session, "plain");
  EXPECT_EQ(view().language, "");
}

TEST_F(LoginTest, NumbersPromptsSoThatNothingTypedOutlivesItsLogin) {
  chooseCarol();
  ask();
  const auto carols = view().promptNumber;
  login().back();
  const auto choice = view().promptNumber;
  EXPECT_NE(choice, carols);
  chooseDana();
  EXPECT_EQ(view().stage, Stage::Waiting);
  EXPECT_NE(view().promptNumber, carols);
  EXPECT_NE(view().promptNumber, choice);
}

TEST_F(LoginTest, ForgetsQuestionsOfTheLoginBefore) {
  chooseCarol();
  ask("Password: ");
  ask("Code: ");
  login().back();
  chooseCarol();
  ask("Again: ");
  EXPECT_EQ(prompt(), "Again: ");
  answer("secret");
  EXPECT_EQ(view().stage, Stage::Waiting);
}

TEST_F(LoginTest, StaysAtASessionThatBegins) {
  chooseCarol();
  end(true);
  takeCalls();
  login().back();
  chooseCarol();
  EXPECT_EQ(view().stage, Stage::Beginning);
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, IsLeftByEscOnceASessionDoesNotBeginInTime) {
  chooseCarol();
  end(true);
  mWorld->runLoop().advance(60);
  EXPECT_TRUE(view().takesLong);
  login().back();
  EXPECT_EQ(view().stage, Stage::Choosing);
}

TEST_F(LoginTest, SaysWhenPamTakesLong) {
  chooseCarol();
  mWorld->runLoop().advance(3);
  EXPECT_FALSE(view().takesLong);
  const auto before = mShown;
  mWorld->runLoop().advance(60);
  EXPECT_TRUE(view().takesLong);
  EXPECT_GT(mShown, before);
  ask();
  EXPECT_FALSE(view().takesLong);
  answer("secret");
  mWorld->runLoop().advance(60);
  EXPECT_TRUE(view().takesLong);
  login().back();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_FALSE(view().takesLong);
}

TEST_F(LoginTest, GivesAPersonAllTheTimeThereIs) {
  chooseCarol();
  ask();
  mWorld->runLoop().advance(3600);
  EXPECT_FALSE(view().takesLong);
  EXPECT_EQ(view().stage, Stage::Asking);
}

TEST_F(LoginTest, WaitsForAFingerAsLongAsItTakes) {
  chooseCarol();
  say("Put your finger on the reader.");
  mWorld->runLoop().advance(3600);
  EXPECT_FALSE(view().takesLong);
}

TEST_F(LoginTest, CountsTheTimeOfEachWaitByItself) {
  chooseCarol();
  mWorld->runLoop().advance(5);
  ask();
  answer("secret");
  mWorld->runLoop().advance(5);
  EXPECT_FALSE(view().takesLong);
}

TEST_F(LoginTest, SaysThatTheDisplayManagerIsGoneInAnyStage) {
  chooseCarol();
  ask();
  takeCalls();
  mManager.says.gone();
  EXPECT_EQ(view().stage, Stage::Gone);
  EXPECT_EQ(view().prompt, std::nullopt);
  EXPECT_THAT(messages(), ElementsAre("Nobody can log in here now: the service that logs people "
                                      "in has stopped. It may start again by itself."));
  login().back();
  chooseCarol();
  answer("secret");
  login().goOn();
  mManager.says.left();
  EXPECT_EQ(view().stage, Stage::Gone);
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, GoesOnWhenItsUserLeavesTheList) {
  login().listIs({listedAs("carol", 1002), listedAs("dana", 1003)});
  chooseCarol();
  ask();
  const auto number = view().promptNumber;
  login().listIs({listedAs("dana", 1003)});
  EXPECT_EQ(view().stage, Stage::Asking);
  EXPECT_EQ(view().promptNumber, number);
  EXPECT_EQ(view().whom->user->uid, 1002U);
  answer("secret");
  end(true);
  EXPECT_EQ(view().stage, Stage::Beginning);
}

TEST_F(LoginTest, ReturnsToASessionThatRuns) {
  login().choose({Whom::Kind::Listed, "carol", listedAs("carol", 1002, true)});
  EXPECT_TRUE(view().returns);
  ask();
  login().setSession("sway");
  login().setLanguage("de_DE.UTF-8");
  EXPECT_EQ(view().session, "plain");
  EXPECT_EQ(view().language, "");
  answer("secret");
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "answer secret", "begin "));
}

TEST_F(LoginTest, ReturnsToASessionThatTheListTellsOfLate) {
  login().listIs({listedAs("carol", 1002)});
  chooseCarol();
  ask();
  login().setSession("sway");
  EXPECT_FALSE(view().returns);
  login().listIs({listedAs("carol", 1002, true)});
  EXPECT_TRUE(view().returns);
  answer("secret");
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "answer secret", "begin "));
}

TEST_F(LoginTest, KnowsATypedNameThatStandsInTheList) {
  login().listIs({listedAs("carol", 1002, true)});
  login().choose({Whom::Kind::Typed, "carol"});
  EXPECT_EQ(view().whom->kind, Whom::Kind::Listed);
  EXPECT_TRUE(view().returns);
}

TEST_F(LoginTest, TellsNobodyWhetherANameIsThereWhereUsersAreHidden) {
  mManager.wanted.hidesUsers = true;
  login().listIs({listedAs("carol", 1002, true), listedAs("dana", 1003)});
  for (const auto* name : {"carol", "nobody"}) {
    login().choose({Whom::Kind::Typed, name});
    login().listIs({listedAs("carol", 1002, true)});
    EXPECT_EQ(view().whom, (Whom{Whom::Kind::Typed, name}));
    EXPECT_FALSE(view().returns);
    failOnce();
    EXPECT_THAT(messages(), ElementsAre("The name or the password is wrong. Please try again."));
  }
  EXPECT_THAT(mAsked, IsEmpty());
  mDanas = {.state = Admission::State::MayNotLogIn, .sentence = "Not here."};
  login().choose({Whom::Kind::Typed, "dana"});
  EXPECT_EQ(view().stage, Stage::Waiting);
}

TEST_F(LoginTest, LogsInWhoeverIsTypedWithoutAList) {
  login().choose({Whom::Kind::Typed, "dana"});
  EXPECT_EQ(view().whom->kind, Whom::Kind::Typed);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate dana"));
}

TEST_F(LoginTest, TellsWhoeverIsRefusedWithoutAskingForAnything) {
  mDanas = {.state = Admission::State::MayNotLogIn, .sentence = "Not here."};
  chooseDana();
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_FALSE(view().isAdmitted);
  EXPECT_EQ(view().messages, (std::vector<LoginMessage>{{Kind::Error, "Not here."}}));
  EXPECT_THAT(takeCalls(), IsEmpty());
  login().goOn();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_EQ(view().selected->name, "dana");
  chooseDana();
  login().back();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, LogsInNobodyWithoutALoginName) {
  chooseCarol();
  takeCalls();
  login().choose({Whom::Kind::Listed, "", listedAs("", 1009)});
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_FALSE(view().isAdmitted);
  EXPECT_THAT(messages(), SizeIs(1));
  EXPECT_THAT(takeCalls(), ElementsAre("cancel"));
  EXPECT_THAT(mAsked, ElementsAre("carol"));
}

TEST_F(LoginTest, TellsWhoeverIsRefusedThatNobodySaysWhy) {
  mDanas = {.state = Admission::State::MayNotLogIn};
  chooseDana();
  EXPECT_THAT(messages(), ElementsAre("You can't log in now, and the computer doesn't say why."));
}

TEST_F(LoginTest, TellsWhoeverComesOutsideOfTheirHoursAndLetsPamDecide) {
  mDanas = {.state = Admission::State::MayNotLogIn, .sentence = "From 9:00.", .isByHours = true};
  chooseDana();
  EXPECT_EQ(view().stage, Stage::Waiting);
  EXPECT_EQ(view().messages, (std::vector<LoginMessage>{{Kind::Information, "From 9:00."}}));
  ask();
  EXPECT_THAT(messages(), ElementsAre("From 9:00."));
  answer("secret");
  EXPECT_THAT(messages(), IsEmpty());
  end(true);
  EXPECT_EQ(view().stage, Stage::Beginning);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate dana", "answer secret", "begin "));
}

TEST_F(LoginTest, SaysOnceWhatTheServiceAndPamSay) {
  mDanas = {.state = Admission::State::MayNotLogIn, .sentence = "From 9:00.", .isByHours = true};
  chooseDana();
  say("From 9:00.", Kind::Error);
  end(false);
  EXPECT_EQ(view().messages, (std::vector<LoginMessage>{{Kind::Error, "From 9:00."}}));
}

TEST_F(LoginTest, RefusesWhoIsTypedAndWhomTheDisplayManagerWantsToo) {
  mDanas = {.state = Admission::State::MayNotLogIn, .sentence = "Not here."};
  login().listIs({listedAs("dana", 1003)});
  login().choose({Whom::Kind::Typed, "dana"});
  EXPECT_EQ(view().stage, Stage::Told);
  mManager.wanted.selectUser = "dana";
  mManager.says.reset();
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_THAT(messages(), ElementsAre("Not here."));
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, LetsPamDecideWhereTheServiceIsSlow) {
  mIsServiceSlow = true;
  chooseDana();
  EXPECT_EQ(view().stage, Stage::Waiting);
  mWorld->runLoop().advance(0.9);
  EXPECT_THAT(takeCalls(), IsEmpty());
  mWorld->runLoop().advance(0.2);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate dana"));
  ask();
  mAnswers.back()({.state = Admission::State::MayNotLogIn, .sentence = "Not here."});
  EXPECT_EQ(view().stage, Stage::Asking);
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(LoginTest, TakesNoAnswerAboutWhoeverIsNotChosenAnyMore) {
  mIsServiceSlow = true;
  chooseDana();
  login().back();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_THAT(takeCalls(), IsEmpty());
  chooseCarol();
  mAnswers[0]({.state = Admission::State::MayNotLogIn, .sentence = "Not here."});
  EXPECT_EQ(view().stage, Stage::Waiting);
  EXPECT_THAT(messages(), IsEmpty());
  mAnswers[1]({});
  mWorld->runLoop().advance(3);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol"));
}

TEST_F(LoginTest, HearsNoPamOfWhoWasChosenBeforeWhileTheServiceIsAsked) {
  chooseCarol();
  ask();
  takeCalls();
  mIsServiceSlow = true;
  chooseDana();
  EXPECT_THAT(takeCalls(), ElementsAre("cancel"));
}

TEST_F(LoginTest, LogsInTheGuest) {
  login().choose({Whom::Kind::Guest});
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate guest", "begin "));
  EXPECT_THAT(mAsked, IsEmpty());
}

TEST_F(LoginTest, OffersTheSessionAndTheLanguageThatAnAccountHadLast) {
  chooseCarol();
  EXPECT_EQ(view().session, "plain");
  remember({.session = "sway", .language = "fr_FR.UTF-8"});
  EXPECT_EQ(view().session, "sway");
  EXPECT_EQ(view().language, "fr_FR.UTF-8");
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "begin "));
}

TEST_F(LoginTest, OffersTheDefaultForASessionThatIsNotThereAnyMore) {
  chooseCarol();
  remember({.session = "fvwm"});
  EXPECT_EQ(view().session, "plain");
}

TEST_F(LoginTest, OffersTheFirstSessionWhereNoneIsTheDefault) {
  mManager.wanted.defaultSession = "default";
  chooseCarol();
  EXPECT_EQ(view().session, "gnome");
}

TEST_F(LoginTest, BeginsTheSessionAndTheLanguageThatAreChosen) {
  chooseCarol();
  login().setSession("sway");
  login().setLanguage("de_DE.UTF-8");
  remember({.session = "gnome", .language = "fr_FR.UTF-8"});
  EXPECT_EQ(view().session, "sway");
  EXPECT_EQ(view().language, "de_DE.UTF-8");
  failOnce();
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "answer guess", "authenticate carol",
                                       "language de_DE.UTF-8", "begin sway"));
}

TEST_F(LoginTest, LeavesTheLanguageToTheAccountAgain) {
  chooseCarol();
  remember({.session = "", .language = "fr_FR.UTF-8"});
  login().setLanguage("de_DE.UTF-8");
  login().setLanguage("");
  EXPECT_EQ(view().language, "fr_FR.UTF-8");
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "begin "));
}

TEST_F(LoginTest, TakesNoSessionThatIsNotOffered) {
  chooseCarol();
  login().setSession("fvwm");
  EXPECT_EQ(view().session, "plain");
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol", "begin "));
}

TEST_F(LoginTest, ChoosesForOnePersonOnly) {
  chooseCarol();
  login().setSession("sway");
  login().setLanguage("de_DE.UTF-8");
  login().back();
  login().choose({Whom::Kind::Listed, "bob", listedAs("bob", 1001)});
  EXPECT_EQ(view().session, "plain");
  end(true);
  EXPECT_THAT(takeCalls(),
              ElementsAre("authenticate carol", "cancel", "authenticate bob", "begin "));
}

TEST_F(LoginTest, AsksWhomTheDisplayManagerWantsOnceTheListIsThere) {
  mManager.wanted.selectUser = "carol";
  EXPECT_EQ(view().selected->name, "carol");
  EXPECT_THAT(takeCalls(), IsEmpty());
  login().listIs({listedAs("carol", 1002, true)});
  EXPECT_EQ(view().whom->user->uid, 1002U);
  EXPECT_TRUE(view().returns);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol"));
  login().back();
  login().listIs({listedAs("carol", 1002)});
  EXPECT_EQ(view().stage, Stage::Choosing);
}

TEST_F(LoginTest, AsksWhomTheDisplayManagerWantsWithoutAListToo) {
  mManager.wanted.selectUser = "carol";
  login().listIsAway();
  EXPECT_EQ(view().whom, (Whom{Whom::Kind::Typed, "carol"}));
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol"));
}

TEST_F(LoginTest, LeavesWhoeverIsChosenAlreadyAlone) {
  mManager.wanted.selectUser = "carol";
  login().choose({Whom::Kind::Typed, "dana"});
  login().listIs({listedAs("carol", 1002)});
  EXPECT_EQ(view().whom->name, "dana");
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate dana"));
}

TEST_F(LoginTest, ChoosesNobodyForAPersonWhoIsDoneBeforeTheListCame) {
  mManager.wanted.selectUser = "carol";
  login().choose({Whom::Kind::Typed, "dana"});
  end(false);
  login().goOn();
  login().listIs({listedAs("carol", 1002)});
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate dana"));
}

TEST_F(LoginTest, LetsNobodyInWhomTheDisplayManagerChoseAndNobodyAsked) {
  mManager.wanted.selectUser = "bob";
  login().listIs({listedAs("bob", 1001)});
  end(true);
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_TRUE(view().isAdmitted);
  EXPECT_THAT(view().messages, IsEmpty());
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate bob"));
  login().goOn();
  EXPECT_THAT(takeCalls(), ElementsAre("begin "));
}

TEST_F(LoginTest, LetsInWhomTheDisplayManagerChoseWithThePassword) {
  mManager.wanted.selectUser = "carol";
  login().listIs({listedAs("carol", 1002)});
  ask();
  answer("secret");
  end(true);
  EXPECT_EQ(view().stage, Stage::Beginning);
}

TEST_F(LoginTest, SelectsTheSamePersonWhateverTheListTellsOfThem) {
  login().listIs({listedAs("carol", 1002)});
  chooseCarol();
  login().back();
  const auto selected = view().selected;
  login().listIs({listedAs("carol", 1002, true)});
  EXPECT_TRUE(view().selected->user->suspended);
  EXPECT_EQ(view().selected, selected);
  EXPECT_NE(view().selected, (Whom{Whom::Kind::Listed, "dana"}));
  EXPECT_NE(view().selected, (Whom{Whom::Kind::Typed, "carol"}));
}

TEST_F(LoginTest, SelectsTheGuestWithoutLettingThemIn) {
  mManager.wanted.selectsGuest = true;
  mManager.wanted.hasGuest = true;
  EXPECT_EQ(view().selected, Whom{Whom::Kind::Guest});
  login().listIs({});
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, SelectsNoGuestWhereThereIsNone) {
  mManager.wanted.selectsGuest = true;
  EXPECT_EQ(view().selected, std::nullopt);
}

TEST_F(LoginTest, CountsDownToTheAutomaticLogin) {
  mManager.wanted.autologinUser = "ann";
  mManager.wanted.autologinDelay = std::chrono::seconds(3);
  mManager.wanted.autologinSession = "sway";
  EXPECT_EQ(view().autologinIn, std::chrono::seconds(3));
  EXPECT_EQ(view().autologin->name, "ann");
  const auto before = mShown;
  mWorld->runLoop().advance(1);
  EXPECT_EQ(view().autologinIn, std::chrono::seconds(2));
  EXPECT_GT(mShown, before);
  mWorld->runLoop().advance(1.5);
  EXPECT_THAT(takeCalls(), IsEmpty());
  mWorld->runLoop().advance(1);
  EXPECT_EQ(view().autologinIn, std::nullopt);
  EXPECT_EQ(view().whom->name, "ann");
  say("Welcome");
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate automatically", "begin sway"));
}

TEST_F(LoginTest, LogsInTheGuestAutomatically) {
  mManager.wanted.autologinGuest = true;
  mManager.wanted.autologinDelay = std::chrono::seconds(1);
  EXPECT_EQ(view().autologin, Whom{Whom::Kind::Guest});
  mWorld->runLoop().advance(1);
  end(true);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate automatically", "begin "));
}

TEST_F(LoginTest, LogsNobodyInAutomaticallyWithoutADelayOrAName) {
  mManager.wanted.autologinUser = "ann";
  EXPECT_EQ(view().autologinIn, std::nullopt);
  mManager.wanted.autologinUser.reset();
  mManager.wanted.autologinDelay = std::chrono::seconds(1);
  mManager.says.reset();
  EXPECT_EQ(view().autologinIn, std::nullopt);
  mWorld->runLoop().advance(60);
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, LogsNobodyInAutomaticallyWhereASessionIsLocked) {
  mManager.wanted.autologinUser = "ann";
  mManager.wanted.autologinDelay = std::chrono::seconds(1);
  mManager.wanted.isLock = true;
  EXPECT_EQ(view().autologinIn, std::nullopt);
  mWorld->runLoop().advance(60);
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, LogsNobodyInAutomaticallyOnceSomebodyIsThere) {
  for (const auto& touch :
       std::vector<std::function<void()>>{[this] { login().touched(); }, [this] { login().back(); },
                                          [this] {
                                            chooseCarol();
                                            login().back();
                                          }}) {
    mManager.wanted.autologinUser = "ann";
    mManager.wanted.autologinDelay = std::chrono::seconds(3);
    login();
    mManager.says.reset();
    mWorld->runLoop().advance(1);
    ASSERT_EQ(view().autologinIn, std::chrono::seconds(2));
    touch();
    EXPECT_EQ(view().autologinIn, std::nullopt);
    EXPECT_EQ(view().autologin, std::nullopt);
    takeCalls();
    mWorld->runLoop().advance(60);
    EXPECT_THAT(takeCalls(), IsEmpty());
  }
}

TEST_F(LoginTest, CountsOnceHoweverOftenTheScreenIsReset) {
  mManager.wanted.autologinUser = "ann";
  mManager.wanted.autologinDelay = std::chrono::seconds(4);
  login();
  mManager.says.reset();
  mWorld->runLoop().advance(1);
  EXPECT_EQ(view().autologinIn, std::chrono::seconds(3));
}

TEST_F(LoginTest, SaysThatTheAutomaticLoginFailedWithoutTryingAgain) {
  mManager.wanted.autologinUser = "ann";
  mManager.wanted.autologinDelay = std::chrono::seconds(1);
  login();
  mWorld->runLoop().advance(1);
  end(false);
  EXPECT_EQ(view().stage, Stage::Told);
  EXPECT_THAT(messages(), SizeIs(1));
  login().goOn();
  mWorld->runLoop().advance(60);
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate automatically"));
}

TEST_F(LoginTest, BeginsAnewWhenTheScreenIsReset) {
  login().listIs({listedAs("carol", 1002)});
  chooseCarol();
  say("Welcome");
  ask();
  takeCalls();
  mManager.says.reset();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_EQ(view().selected, std::nullopt);
  EXPECT_THAT(view().messages, IsEmpty());
  EXPECT_THAT(takeCalls(), ElementsAre("cancel"));
  mManager.wanted.selectUser = "carol";
  mManager.wanted.isLock = true;
  mManager.says.reset();
  EXPECT_EQ(view().whom->name, "carol");
  EXPECT_THAT(takeCalls(), ElementsAre("authenticate carol"));
}

TEST_F(LoginTest, KeepsNothingOfALoginOnceASessionIsInFront) {
  chooseCarol();
  ask();
  answer("secret");
  end(true);
  takeCalls();
  mManager.says.left();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_EQ(view().whom, std::nullopt);
  EXPECT_EQ(view().selected, std::nullopt);
  EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(LoginTest, TellsThatTheScreenWasLeftInAnyStage) {
  const std::vector<std::function<void()>> stages{[] {}, [this] { chooseCarol(); },
                                                  [this] {
                                                    chooseCarol();
                                                    ask();
                                                  },
                                                  [this] {
                                                    chooseCarol();
                                                    end(true);
                                                  }};
  for (const auto& enter : stages) {
    enter();
    const auto visit = view().visit;
    mManager.says.left();
    EXPECT_NE(view().visit, visit);
  }
  const auto visit = view().visit;
  chooseCarol();
  login().back();
  EXPECT_EQ(view().visit, visit);
}

TEST_F(LoginTest, CancelsALoginThatASwitchLeavesBehind) {
  chooseCarol();
  ask();
  takeCalls();
  mManager.says.left();
  EXPECT_EQ(view().stage, Stage::Choosing);
  EXPECT_THAT(takeCalls(), ElementsAre("cancel"));
}

TEST_F(LoginTest, SpeaksTheLanguageOfItsCatalogue) {
  // An MO file of one message; its numbers as the host has them.
  const std::string message = kWrong;
  const std::string translation = "Falsch.";
  const auto number = [](std::uint32_t value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
  };
  const auto size = [](const std::string& text) { return static_cast<std::uint32_t>(text.size()); };
  std::string content = number(0x950412de) + number(0) + number(1) + number(28) + number(36) +
                        number(0) + number(44) + number(size(message)) + number(44) +
                        number(size(translation)) + number(44 + size(message) + 1);
  content.append(message).append(1, '\0').append(translation).append(1, '\0');
  const MessageCatalogue german{content};
  Login login(
      mManager, mWorld->runLoop(), [](const auto&, const auto& handler) { handler({}); },
      [](const auto&, const auto&) {}, german, [] {});
  login.choose({Whom::Kind::Listed, "carol", listedAs("carol", 1002)});
  mManager.says.asked({"Passwort: ", true});
  login.answer(SecretText("guess"));
  mManager.says.ended(false);
  EXPECT_EQ(login.view().messages.front().text, "Falsch.");
}

}  // namespace
}  // namespace gatehall::greeter
