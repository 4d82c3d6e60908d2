#include <gtest/gtest.h>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/LoginService.h"
#include "linux/switch/SwitchDecision.h"

namespace gatehall::switchDecision {
namespace {

Dictionary with(std::string_view kind, const Value& value) { return {{std::string(kind), value}}; }

TEST(SwitchDecision, ReadsTheTargetFromItsAttributes) {
  const auto read = target({{std::string(attribute::RecordName), Strings{"ann", "anna"}},
                            {std::string(attribute::UniqueID), Strings{"1000"}},
                            {std::string(attribute::MetaNodeLocation), Strings{"local"}}});
  EXPECT_EQ(read.name, "ann");
  EXPECT_EQ(read.userID, 1000U);
  EXPECT_EQ(read.node, "local");
  EXPECT_FALSE(read.isGuest);
  EXPECT_FALSE(read.hasEmptyPassword);
}

TEST(SwitchDecision, ReadsNoUserIDThatNobodyCanHave) {
  for (const Value& value :
       {Value(Strings{}), Value(Strings{"-1"}), Value(Strings{"4294967295"}), Value(Data{1})}) {
    EXPECT_FALSE(target(with(attribute::UniqueID, value)).userID) << value.description();
  }
}

TEST(SwitchDecision, TakesOnlyAnEmptyTextForTheEmptyPassword) {
  EXPECT_TRUE(target(with(kUserPasswordKey, "")).hasEmptyPassword);
  for (const Value& value : {Value("x"), Value(0), Value(false), Value(Strings{""})}) {
    EXPECT_FALSE(target(with(kUserPasswordKey, value)).hasEmptyPassword) << value.description();
  }
  EXPECT_FALSE(target({}).hasEmptyPassword);
}

TEST(SwitchDecision, ActivatesForTheEmptyPasswordOnly) {
  EXPECT_TRUE(mayActivate({.name = "bob", .userID = 1001, .hasEmptyPassword = true}));
  EXPECT_FALSE(mayActivate({.name = "carol", .userID = 1002}));
  EXPECT_FALSE(
      mayActivate({.name = "gus", .userID = 1009, .isGuest = true, .hasEmptyPassword = true}));
}

TEST(SwitchDecision, HasALoginScreenForEachDisplayManager) {
  EXPECT_EQ(loginScreen(DisplayManager::LightDM), Step::SwitchToGreeter);
  EXPECT_EQ(loginScreen(DisplayManager::OtherSeat), Step::SwitchToGreeter);
  EXPECT_EQ(loginScreen(DisplayManager::GDM), Step::CreateTransientDisplay);
  EXPECT_EQ(loginScreen(DisplayManager::None), Step::Impossible);
}

TEST(SwitchDecision, LeavesUsersAndGuestsToLightDMAndElsewhereToTheLoginScreen) {
  const Target carol{.name = "carol", .userID = 1002};
  const Target gus{.name = "gus", .userID = 1009, .isGuest = true};
  EXPECT_EQ(userSwitch(DisplayManager::LightDM, carol), Step::SwitchToUser);
  EXPECT_EQ(userSwitch(DisplayManager::LightDM, gus), Step::SwitchToGuest);
  for (const auto other : {DisplayManager::OtherSeat, DisplayManager::GDM, DisplayManager::None}) {
    EXPECT_EQ(userSwitch(other, carol), loginScreen(other));
    EXPECT_EQ(userSwitch(other, gus), loginScreen(other));
  }
}

TEST(SwitchDecision, KnowsWhichStepsOpenADesktopThatAsksForNoPassword) {
  const Target bob{.name = "bob", .userID = 1001, .hasEmptyPassword = true};
  const Target carol{.name = "carol", .userID = 1002};
  EXPECT_TRUE(opensUnasked(Step::SwitchToUser, bob));
  EXPECT_FALSE(opensUnasked(Step::SwitchToUser, carol));
  EXPECT_TRUE(opensUnasked(Step::SwitchToGuest, carol));
  for (const auto screen : {Step::SwitchToGreeter, Step::CreateTransientDisplay}) {
    EXPECT_FALSE(opensUnasked(screen, bob));
  }
}

TEST(SwitchDecision, LeavesALoginScreenThatRunsToLightDMAlone) {
  EXPECT_FALSE(makesAnotherGreeter(DisplayManager::LightDM));
  EXPECT_TRUE(makesAnotherGreeter(DisplayManager::OtherSeat));
  EXPECT_TRUE(makesAnotherGreeter(DisplayManager::GDM));
}

}  // namespace
}  // namespace gatehall::switchDecision
