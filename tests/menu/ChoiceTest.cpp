#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "menu/Choice.h"
#include "world/WorldRunLoop.h"

namespace gatehall::menu {
namespace {

using Stage = ChoiceView::Stage;

constexpr std::uint32_t kAnn = 1000;
constexpr std::uint32_t kBob = 1001;

std::shared_ptr<const ListedUser> user(std::uint32_t uid, const char* name) {
  ListedUser result;
  result.uid = uid;
  result.longName = name;
  return std::make_shared<const ListedUser>(std::move(result));
}

/// Ann's menu. She is in front unless a case says something else.
class ChoiceTest : public testing::Test {
 protected:
  ChoiceTest() { know(kAnn); }

  /// The list, with whose session is in front.
  void know(std::optional<std::uint32_t> front) {
    ListedUsers users;
    for (const auto& each : {user(kAnn, "Ann Lee"), user(kBob, "Bob Ray")}) {
      auto copy = *each;
      copy.current = copy.uid == front;
      users.push_back(std::make_shared<const ListedUser>(std::move(copy)));
    }
    choice.know(users);
  }

  void answer(Admission::State state, std::string sentence = {}) {
    std::exchange(mAnswer, {})({state, std::move(sentence)});
  }
  void end(SwitchRun::End how, std::string why = {}) {
    std::exchange(mEnd, {})({how, std::move(why)});
  }
  void chooseBob() { choice.choose({user(kBob, "Bob Ray")}); }
  void switchToBob() {
    chooseBob();
    answer(Admission::State::MayLogIn);
  }

  WorldClock clock;
  WorldRunLoop runLoop{clock};
  std::vector<std::string> asked;
  std::vector<std::vector<std::string>> ran;
  int shown = 0;

 private:
  std::function<void(const Admission&)> mAnswer;
  std::function<void(const SwitchRun&)> mEnd;

 protected:
  Choice choice{
      kAnn,
      runLoop,
      {[this](const Person& about, std::function<void(const Admission&)> then) {
         asked.push_back(*about.user->longName);
         mAnswer = std::move(then);
       },
       [this](const std::vector<std::string>& words, std::function<void(const SwitchRun&)> then) {
         ran.push_back(words);
         mEnd = std::move(then);
       }},
      Words(),
      [this] { ++shown; }};
};

TEST_F(ChoiceTest, WhoeverMayLogInIsSwitchedTo) {
  chooseBob();
  EXPECT_EQ(asked, std::vector<std::string>{"Bob Ray"});
  EXPECT_EQ(choice.view().stage, Stage::Asking);
  EXPECT_TRUE(ran.empty());
  answer(Admission::State::MayLogIn);
  EXPECT_EQ(ran, (std::vector<std::vector<std::string>>{{"-switchToUserID", "1001"}}));
  EXPECT_EQ(choice.view(), (ChoiceView{Stage::Switching, "Switching to \u2068Bob Ray\u2069…"}));
}

TEST_F(ChoiceTest, WhoeverMayNotLogInIsNotSwitchedToAndTheReasonIsSaid) {
  chooseBob();
  answer(Admission::State::MayNotLogIn, "You may not.");
  EXPECT_TRUE(ran.empty());
  EXPECT_EQ(choice.view(),
            (ChoiceView{Stage::Choosing, "\u2068Bob Ray\u2069 may not log in here now.",
                        "The login screen would say: “You may not.”"}));
}

TEST_F(ChoiceTest, ARefusalWithoutASentenceIsSaid) {
  chooseBob();
  answer(Admission::State::MayNotLogIn);
  EXPECT_EQ(choice.view(),
            (ChoiceView{Stage::Choosing, "\u2068Bob Ray\u2069 may not log in here now."}));
}

TEST_F(ChoiceTest, WhatTheServiceDoesNotAnswerIsForTheSwitchToDecide) {
  chooseBob();
  answer(Admission::State::Unknown);
  EXPECT_EQ(ran.size(), 1U);
}

TEST_F(ChoiceTest, TheLoginScreenIsAskedForWithoutAQuestion) {
  choice.chooseLoginScreen();
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(ran, (std::vector<std::vector<std::string>>{{"-suspend"}}));
  EXPECT_EQ(choice.view(), (ChoiceView{Stage::Switching, "Going to the login screen…"}));
}

TEST_F(ChoiceTest, OnesOwnRowOnlyEndsTheMenu) {
  choice.choose({user(kAnn, "Ann Lee")});
  EXPECT_EQ(choice.view(), ChoiceView{Stage::Over});
  EXPECT_TRUE(asked.empty());
  EXPECT_TRUE(ran.empty());
}

TEST_F(ChoiceTest, ItIsOverOnceTheSessionIsNotInFrontAnyMore) {
  choice.chooseLoginScreen();
  know(kAnn);
  EXPECT_EQ(choice.view().stage, Stage::Switching);
  know(std::nullopt);
  EXPECT_EQ(choice.view(), ChoiceView{Stage::Over});
}

TEST_F(ChoiceTest, ItIsOverOnceWhoWasChosenIsInFront) {
  know(std::nullopt);
  switchToBob();
  know(kBob);
  EXPECT_EQ(choice.view(), ChoiceView{Stage::Over});
}

TEST_F(ChoiceTest, ASwitchThatDoesNotComeIsSaidSomeSecondsAfterItWasAskedFor) {
  switchToBob();
  end(SwitchRun::End::Whole);
  runLoop.advance(11);
  EXPECT_EQ(choice.view().stage, Stage::Switching);
  runLoop.advance(2);
  EXPECT_EQ(
      choice.view(),
      (ChoiceView{Stage::Choosing,
                  "The switch to \u2068Bob Ray\u2069 was asked for, but it hasn't come about.",
                  "The system log says why. Ask whoever looks after this computer."}));
}

TEST_F(ChoiceTest, ALoginScreenThatDoesNotComeIsSaid) {
  choice.chooseLoginScreen();
  end(SwitchRun::End::Whole);
  runLoop.advance(13);
  EXPECT_EQ(choice.view().title, "The login screen was asked for, but it hasn't come.");
}

TEST_F(ChoiceTest, ASwitchThatComesLateEndsTheMenuAllTheSame) {
  switchToBob();
  end(SwitchRun::End::Whole);
  runLoop.advance(13);
  know(kBob);
  EXPECT_EQ(choice.view(), ChoiceView{Stage::Over});
}

TEST_F(ChoiceTest, AProgramThatIsBrokenOffIsSaidAtOnce) {
  switchToBob();
  end(SwitchRun::End::Broken);
  EXPECT_EQ(choice.view().title,
            "The switch to \u2068Bob Ray\u2069 was asked for, but it hasn't come about.");
}

TEST_F(ChoiceTest, AProgramThatIsMissingIsSaidAtOnce) {
  switchToBob();
  end(SwitchRun::End::NotStarted, "No such file");
  EXPECT_EQ(
      choice.view(),
      (ChoiceView{Stage::Choosing, "The program that switches can't be started.", "No such file"}));
}

TEST_F(ChoiceTest, WhoIsNotInTheListIsNotToldWhatCannotBeSeen) {
  choice.know({});
  switchToBob();
  end(SwitchRun::End::Whole);
  EXPECT_EQ(choice.view(), ChoiceView{Stage::Over});
}

TEST_F(ChoiceTest, GoingBackTakesBackWhatIsNotAskedYet) {
  chooseBob();
  choice.back();
  answer(Admission::State::MayLogIn);
  EXPECT_TRUE(ran.empty());
  EXPECT_EQ(choice.view(), ChoiceView());
}

TEST_F(ChoiceTest, GoingBackTakesAwayWhatIsSaid) {
  chooseBob();
  answer(Admission::State::MayNotLogIn);
  choice.back();
  EXPECT_EQ(choice.view(), ChoiceView());
}

TEST_F(ChoiceTest, NothingElseIsChosenWhileASwitchIsOnItsWay) {
  switchToBob();
  const auto view = choice.view();
  chooseBob();
  choice.chooseLoginScreen();
  choice.back();
  EXPECT_EQ(choice.view(), view);
  EXPECT_EQ(ran.size(), 1U);
}

TEST_F(ChoiceTest, OnlyTheLastOneThatWasChosenCounts) {
  chooseBob();
  choice.chooseLoginScreen();
  answer(Admission::State::MayLogIn);
  EXPECT_EQ(ran, (std::vector<std::vector<std::string>>{{"-suspend"}}));
}

TEST_F(ChoiceTest, ASwitchThatCameIsNotSaidToBeMissing) {
  choice.chooseLoginScreen();
  end(SwitchRun::End::Whole);
  know(std::nullopt);
  shown = 0;
  runLoop.advance(60);
  EXPECT_EQ(choice.view(), ChoiceView{Stage::Over});
  EXPECT_EQ(shown, 0);
}

}  // namespace
}  // namespace gatehall::menu
