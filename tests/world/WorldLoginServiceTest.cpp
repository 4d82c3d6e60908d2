#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/world/SceneWorld.h"
#include "world/WorldLoginService.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using Request = RecordingLoginService::Request;

class WorldLoginServiceTest : public testing::Test {
 protected:
  WorldLoginServiceTest() {
    mWorld->sessions().open({7, 1000, "ann", true});
    mWorld->sessions().setCurrent(7);
  }

  Dictionary attributesOf(std::string_view name) {
    return *mWorld->directory().node("local")->record("Users", name)->recordDetails({});
  }
  /// The user name of the session that owns the console, "" when there is none.
  std::string consoleOwner() {
    const auto current = mWorld->sessions().copyCurrentSession();
    return current ? *current->at("kVXSSessionUserNameKey").string() : std::string();
  }

  const std::shared_ptr<World> mWorld = sceneWorld();
  WorldLoginService& mService = mWorld->loginService();
};

TEST_F(WorldLoginServiceTest, LeavesTheConsoleToTheLoginScreen) {
  EXPECT_EQ(mService.switchToLoginScreen(), 0);
  EXPECT_EQ(consoleOwner(), "");
  EXPECT_EQ(mWorld->sessions().copySessionList()->size(), 1U);
  EXPECT_THAT(mService.requests(), ElementsAre(Request{"switchToLoginScreen", {}}));
}

TEST_F(WorldLoginServiceTest, OpensASessionForAnAcceptedPassword) {
  auto bob = attributesOf("bob");
  bob.emplace(kUserPasswordKey, "");
  EXPECT_EQ(mService.switchToUser(bob), 0);
  EXPECT_EQ(consoleOwner(), "bob");
  EXPECT_EQ(mWorld->sessions().copySessionList()->size(), 2U);
  EXPECT_THAT(mService.requests(), ElementsAre(Request{"switchToUser", bob}));
}

TEST_F(WorldLoginServiceTest, GoesBackToTheSessionThatIsOpen) {
  auto ann = attributesOf("ann");
  ann.emplace(kUserPasswordKey, "ann's password");
  mWorld->sessions().clearCurrent();
  mService.switchToUser(ann);
  EXPECT_EQ(consoleOwner(), "ann");
  EXPECT_EQ(mWorld->sessions().copySessionList()->size(), 1U);
  EXPECT_EQ(mService.requests().front().attributes.at("UserPasswordKey"), "(not recorded)");
}

TEST_F(WorldLoginServiceTest, LetsNobodyInWithoutTheRightPassword) {
  mService.switchToUser(attributesOf("bob"));
  EXPECT_EQ(consoleOwner(), "");
  auto carol = attributesOf("carol");
  carol.emplace(kUserPasswordKey, "");
  mService.switchToUser(carol);
  EXPECT_EQ(consoleOwner(), "");
}

}  // namespace
}  // namespace gatehall
