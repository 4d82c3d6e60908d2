#include <chrono>
#include <fcntl.h>
#include <functional>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "greeter/lightdm/LightDM.h"
#include "tests/Patience.h"
#include "tests/greeter/lightdm/DaemonSide.h"
#include "tests/linux/Machine.h"

namespace gatehall::greeter {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Style = DaemonSide::Style;

/// Talks to LightDM, and notes what it is told: "said text", "error text", "asked text", "secret
/// text", "ended 1", "begun 1", "left", "reset", "gone".
class LightDMTest : public testing::Test {
 protected:
  void connect(const DaemonSide::Texts& hints = {}) {
    mDaemon.welcome(hints);
    mLightDM = std::make_unique<LightDM>(mLog);
    EXPECT_EQ(mDaemon.hear(), "0:1.26.0:1");
    listen();
  }

  void listen() {
    mLightDM->listen(
        {.said =
             [this](const LoginMessage& message) {
               mNotes.push_back((message.kind == LoginMessage::Kind::Error ? "error " : "said ") +
                                message.text);
             },
         .asked =
             [this](const LoginPrompt& prompt) {
               mNotes.push_back((prompt.isSecret ? "secret " : "asked ") + prompt.text);
             },
         .ended =
             [this](bool isAuthenticated) {
               mNotes.push_back("ended " + std::to_string(isAuthenticated));
             },
         .sessionBegun =
             [this](bool hasBegun) { mNotes.push_back("begun " + std::to_string(hasBegun)); },
         .left = [this] { mNotes.emplace_back("left"); },
         .reset = [this] { mNotes.emplace_back("reset"); },
         .gone = [this] { mNotes.emplace_back("gone"); }});
  }

  bool isTold(const std::string& note) {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (std::ranges::find(mNotes, note) == mNotes.end()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      g_main_context_iteration(nullptr, FALSE);
    }
    return true;
  }

  DaemonSide mDaemon;
  KeptLog mLog;
  std::unique_ptr<LightDM> mLightDM;
  std::vector<std::string> mNotes;
};

TEST_F(LightDMTest, ReadsTheHints) {
  connect({{"select-user", "carol"},
           {"lock-screen", "true"},
           {"hide-users", "true"},
           {"show-manual-login", "true"},
           {"has-guest-account", "true"},
           {"autologin-user", "ann"},
           {"autologin-timeout", "7"},
           {"autologin-session", "sway"},
           {"default-session", "gnome"}});
  const auto& hints = mLightDM->hints();
  EXPECT_EQ(hints.selectUser, "carol");
  EXPECT_FALSE(hints.selectsGuest);
  EXPECT_TRUE(hints.isLock);
  EXPECT_TRUE(hints.hidesUsers);
  EXPECT_TRUE(hints.allowsManualLogin);
  EXPECT_TRUE(hints.hasGuest);
  EXPECT_EQ(hints.autologinUser, "ann");
  EXPECT_FALSE(hints.autologinGuest);
  EXPECT_EQ(hints.autologinDelay, std::chrono::seconds(7));
  EXPECT_EQ(hints.autologinSession, "sway");
  EXPECT_EQ(hints.defaultSession, "gnome");
}

TEST_F(LightDMTest, WantsNothingWithoutHints) {
  connect({{"select-guest", "true"}, {"autologin-guest", "true"}, {"autologin-timeout", "-1"}});
  const auto& hints = mLightDM->hints();
  EXPECT_EQ(hints.selectUser, std::nullopt);
  EXPECT_TRUE(hints.selectsGuest);
  EXPECT_FALSE(hints.isLock);
  EXPECT_FALSE(hints.hidesUsers);
  EXPECT_FALSE(hints.allowsManualLogin);
  EXPECT_FALSE(hints.hasGuest);
  EXPECT_EQ(hints.autologinUser, std::nullopt);
  EXPECT_TRUE(hints.autologinGuest);
  EXPECT_EQ(hints.autologinDelay, std::chrono::seconds(0));
}

TEST_F(LightDMTest, LogsSomebodyIn) {
  connect();
  mLightDM->authenticate("carol");
  EXPECT_EQ(mDaemon.hear(), "1:carol");
  mDaemon.say(
      1,
      {{Style::Information, "Welcome"}, {Style::Error, "Beware"}, {Style::Secret, "Password: "}});
  ASSERT_TRUE(isTold("secret Password: "));
  mLightDM->answer(SecretText("secret"));
  EXPECT_EQ(mDaemon.hear(), "3:secret");
  mDaemon.finish(1, 0);
  ASSERT_TRUE(isTold("ended 1"));
  mLightDM->setLanguage("de_DE.UTF-8");
  EXPECT_EQ(mDaemon.hear(), "6:de_DE.UTF-8");
  mLightDM->beginSession("sway");
  EXPECT_EQ(mDaemon.hear(), "4:sway");
  mDaemon.sessionIs(0);
  ASSERT_TRUE(isTold("begun 1"));
  EXPECT_THAT(mNotes, ElementsAre("said Welcome", "error Beware", "secret Password: ", "ended 1",
                                  "begun 1"));
}

TEST_F(LightDMTest, TellsWhatPamSaysInTextThatCanBeShown) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.hear();
  mDaemon.say(1, {{Style::Information, "na\xEFve\tand \x1B[31mred\nlines"},
                  {Style::Error, std::string(5000, 'x')},
                  {Style::Secret, "Pass\xFFword\a: "}});
  ASSERT_TRUE(isTold("secret Pass\uFFFDword: "));
  EXPECT_THAT(mNotes, ElementsAre("said na\uFFFDve and [31mred\nlines",
                                  "error " + std::string(1000, 'x'), "secret Pass\uFFFDword: "));
}

TEST_F(LightDMTest, AnswersPromptsOfOneTurnTogether) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.hear();
  mDaemon.say(1, {{Style::Secret, "Password: "}, {Style::Question, "Code: "}});
  ASSERT_TRUE(isTold("asked Code: "));
  mLightDM->answer(SecretText("secret"));
  EXPECT_FALSE(mDaemon.hasMore());
  mLightDM->answer(SecretText("123"));
  EXPECT_EQ(mDaemon.hear(), "3:secret:123");
}

TEST_F(LightDMTest, TellsThatALoginFailed) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.finish(1, 7);
  ASSERT_TRUE(isTold("ended 0"));
}

TEST_F(LightDMTest, TellsThatASessionDoesNotBegin) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.hear();
  mDaemon.finish(1, 0);
  ASSERT_TRUE(isTold("ended 1"));
  mLightDM->beginSession("");
  EXPECT_EQ(mDaemon.hear(), "4:");
  mDaemon.sessionIs(1);
  ASSERT_TRUE(isTold("begun 0"));
}

TEST_F(LightDMTest, TellsNothingOfASessionThatSomebodyElseBeganToWaitFor) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.hear();
  mLightDM->beginSession("");
  mDaemon.hear();
  mLightDM->authenticate("dana");
  mDaemon.hear();
  mLightDM->beginSession("");
  mDaemon.hear();
  mDaemon.sessionIs(1);
  mDaemon.sessionIs(0);
  ASSERT_TRUE(isTold("begun 1"));
  EXPECT_THAT(mNotes, ElementsAre("begun 1"));
}

TEST_F(LightDMTest, LogsInTheGuestAndWhoeverIsLoggedInAutomatically) {
  connect({{"autologin-user", "ann"}, {"autologin-timeout", "7"}});
  mLightDM->authenticateAsGuest();
  EXPECT_EQ(mDaemon.hear(), "2");
  mLightDM->authenticateForAutologin();
  EXPECT_EQ(mDaemon.hear(), "1:ann");
}

TEST_F(LightDMTest, TellsNothingOfACancelledLogin) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.hear();
  mLightDM->cancel();
  EXPECT_EQ(mDaemon.hear(), "5");
  mDaemon.say(1, {{Style::Information, "late"}, {Style::Secret, "Late: "}});
  mDaemon.finish(1, 7);
  mDaemon.idle();  // behind all that
  ASSERT_TRUE(isTold("left"));
  EXPECT_THAT(mNotes, ElementsAre("left"));
}

TEST_F(LightDMTest, TellsNothingOfTheLoginBefore) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.hear();
  mLightDM->cancel();
  mDaemon.hear();
  mLightDM->authenticate("dana");
  EXPECT_EQ(mDaemon.hear(), "1:dana");
  mDaemon.say(1, {{Style::Secret, "Late: "}});
  mDaemon.finish(1, 7);
  mDaemon.say(2, {{Style::Secret, "Password: "}});
  ASSERT_TRUE(isTold("secret Password: "));
  EXPECT_THAT(mNotes, ElementsAre("secret Password: "));
}

TEST_F(LightDMTest, ReadsTheHintsAnewWhenTheScreenIsReset) {
  connect({{"has-guest-account", "true"}});
  mDaemon.reset({{"select-user", "carol"}, {"lock-screen", "true"}});
  ASSERT_TRUE(isTold("reset"));
  EXPECT_EQ(mLightDM->hints().selectUser, "carol");
  EXPECT_TRUE(mLightDM->hints().isLock);
  EXPECT_FALSE(mLightDM->hints().hasGuest);
}

TEST_F(LightDMTest, TellsThatLightDMIsGoneAfterAllThatItSaid) {
  connect();
  mLightDM->authenticate("carol");
  mDaemon.say(1, {{Style::Information, "I go."}});
  mDaemon.end();
  ASSERT_TRUE(isTold("gone"));
  EXPECT_THAT(mNotes, ElementsAre("said I go.", "gone"));
  EXPECT_THAT(mLog.lines(), ElementsAre("LightDM is gone: it ended the connection"));
}

TEST_F(LightDMTest, IsNotWokenWithoutAPauseByAConnectionThatEnded) {
  connect();
  mDaemon.end();
  ASSERT_TRUE(isTold("gone"));
  pollfd event{mDaemon.greeters(), POLLIN, 0};
  EXPECT_EQ(poll(&event, 1, 0), 0);
  EXPECT_EQ(fcntl(mDaemon.greeters(), F_GETFD), FD_CLOEXEC);
}

TEST_F(LightDMTest, OutlivesALightDMThatIsGone) {
  connect();
  mDaemon.end();
  mLightDM->authenticate("carol");
  mLightDM->answer(SecretText("secret"));
  mLightDM->cancel();
  mLightDM->beginSession("");
  ASSERT_TRUE(isTold("gone"));
  mLightDM->authenticate("carol");
  mLightDM->beginSession("");
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  EXPECT_THAT(mNotes, ElementsAre("gone"));
}

TEST_F(LightDMTest, IsGoneWhereNoLightDMStartedIt) {
  unsetenv("LIGHTDM_FROM_SERVER_FD");
  mLightDM = std::make_unique<LightDM>(mLog);
  listen();
  EXPECT_THAT(mNotes, IsEmpty());
  ASSERT_TRUE(isTold("gone"));
  EXPECT_THAT(mLog.lines(), ElementsAre("LightDM is gone: it didn't start this program"));
}

TEST_F(LightDMTest, IsGoneWhenLightDMEndsBeforeItAnswers) {
  mDaemon.end();
  mLightDM = std::make_unique<LightDM>(mLog);
  listen();
  ASSERT_TRUE(isTold("gone"));
}

TEST_F(LightDMTest, IsGoneWhenLightDMDoesNotAnswer) {
  mLightDM = std::make_unique<LightDM>(mLog, std::chrono::milliseconds(50));
  listen();
  ASSERT_TRUE(isTold("gone"));
  EXPECT_THAT(mLog.lines(), ElementsAre("LightDM is gone: it doesn't answer"));
}

}  // namespace
}  // namespace gatehall::greeter
