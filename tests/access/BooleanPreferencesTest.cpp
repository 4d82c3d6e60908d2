#include <gtest/gtest.h>

#include "gatehall/access/USPrefs.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

class BooleanPreferences : public InstalledWorld {
 protected:
  void setManaged(std::string_view key, Value value) {
    mWorld->propertyLists().setFile("/Library/Managed Preferences/com.orvane.gatehall.plist",
                                    Dictionary{{std::string(key), std::move(value)}});
    USPrefs::synchronize();
  }

  void setStored(std::string_view key, Value value) {
    mWorld->preferences().setValue(WorldPreferences::Scope::System, "com.orvane.gatehall", key,
                                   std::move(value));
    USPrefs::synchronize();
  }
};

TEST_F(BooleanPreferences, AManagedStringIsTrueWhenItGoesOnWithYOrTOrADigitAfterSpaceSignAndZeros) {
  for (const auto* text : {"1", "9", "yes", "Yup", "y", "Y", "t", "T", "true", "Turtle", " -007",
                           "+1", "-3", "0001", "\t\n 5", "  +00y", "0Y", "12 monkeys"}) {
    setManaged("Hide500Users", text);
    EXPECT_TRUE(USPrefs::hide500Users()) << '"' << text << '"';
  }
}

TEST_F(BooleanPreferences, AnyOtherManagedStringIsFalse) {
  for (const auto* text : {"", " ", "0", "000", "-0", "+", "-", "n", "no", "No", "false", "F", "on",
                           "--1", "+-1", "- 1", "x1", "00x1", "\"yes\""}) {
    setManaged("Hide500Users", text);
    EXPECT_FALSE(USPrefs::hide500Users()) << '"' << text << '"';
  }
}

TEST_F(BooleanPreferences, AManagedNumberIsTrueWhenItIsNotZero) {
  for (const auto& number : {Value(1), Value(-1), Value(500), Value(0.5), Value(true)}) {
    setManaged("Hide500Users", number);
    EXPECT_TRUE(USPrefs::hide500Users()) << number.description();
  }
  for (const auto& number : {Value(0), Value(0.0), Value(false)}) {
    setManaged("Hide500Users", number);
    EXPECT_FALSE(USPrefs::hide500Users()) << number.description();
  }
}

TEST_F(BooleanPreferences, AManagedValueOfAnotherKindHidesTheStoredBooleanAndLeavesTheDefault) {
  for (const auto& other :
       {Value(Array{}), Value(Array{true}), Value(Dictionary{}), Value(Date{}), Value(Data{1})}) {
    for (const bool stored : {true, false}) {
      for (const auto* key : {"Hide500Users", "LocalUserLoginEnabled", "HideAdminUsers",
                              "HideLocalUsers", "HideMobileAccounts"}) {
        setStored(key, stored);
      }
      setManaged("Hide500Users", other);
      EXPECT_FALSE(USPrefs::hide500Users()) << other.description();
      setManaged("LocalUserLoginEnabled", other);
      EXPECT_TRUE(USPrefs::localUserLoginEnabled()) << other.description();
      setManaged("HideAdminUsers", other);
      EXPECT_TRUE(USPrefs::showAdminUsers()) << other.description();
      setManaged("HideLocalUsers", other);
      EXPECT_TRUE(USPrefs::showLocalUsers()) << other.description();
      setManaged("HideMobileAccounts", other);
      EXPECT_TRUE(USPrefs::showMobileHomeUsers()) << other.description();
    }
  }
}

TEST_F(BooleanPreferences, TheAllowListIsStrictOnlyWhereThatIsSet) {
  PreferenceSource source{};
  EXPECT_FALSE(USPrefs::strictAllowList(&source));
  EXPECT_EQ(source, PreferenceSource::Default);
  setStored("StrictAllowList", true);
  EXPECT_TRUE(USPrefs::strictAllowList(&source));
  EXPECT_EQ(source, PreferenceSource::Preferences);
  setManaged("StrictAllowList", false);
  EXPECT_FALSE(USPrefs::strictAllowList(&source));
  EXPECT_EQ(source, PreferenceSource::Managed);
}

TEST_F(BooleanPreferences, TheStoreIsNotAskedForAManagedKeyWhateverItsKind) {
  for (const auto& managed : {Value("0"), Value(false), Value(Array{}), Value(Date{})}) {
    setManaged("HideAdminUsers", managed);
    forgetCalls();
    USPrefs::showAdminUsers();
    EXPECT_TRUE(calls().empty()) << managed.description();
  }
}

TEST_F(BooleanPreferences, AManagedNoDisablesLocalLogin) {
  setStored("LocalUserLoginEnabled", true);
  for (const auto& managed : {Value("no"), Value(0), Value(false), Value("")}) {
    setManaged("LocalUserLoginEnabled", managed);
    EXPECT_FALSE(USPrefs::localUserLoginEnabled()) << managed.description();
  }
}

TEST_F(BooleanPreferences, AStoredValueThatTheStoreCannotReadAsABooleanLeavesTheDefault) {
  for (const auto& malformed : {Value("Yup"), Value(Array{}), Value(Date{}), Value("")}) {
    setStored("LocalUserLoginEnabled", malformed);
    EXPECT_TRUE(USPrefs::localUserLoginEnabled()) << malformed.description();
    setStored("Hide500Users", malformed);
    EXPECT_FALSE(USPrefs::hide500Users()) << malformed.description();
    setStored("HideLocalUsers", malformed);
    EXPECT_TRUE(USPrefs::showLocalUsers()) << malformed.description();
  }
}

TEST_F(BooleanPreferences, AStoredBooleanIsReadAsTheStoreReadsIt) {
  for (const auto& yes : {Value(true), Value(1), Value("YES"), Value("true")}) {
    setStored("Hide500Users", yes);
    EXPECT_TRUE(USPrefs::hide500Users()) << yes.description();
  }
  for (const auto& no : {Value(false), Value(0), Value("No"), Value("FALSE")}) {
    setStored("LocalUserLoginEnabled", no);
    EXPECT_FALSE(USPrefs::localUserLoginEnabled()) << no.description();
  }
}

TEST_F(BooleanPreferences, TheHideKeysAnswerTheOppositeOfTheShowQuestions) {
  setStored("HideAdminUsers", false);
  EXPECT_TRUE(USPrefs::showAdminUsers());
  setStored("HideAdminUsers", true);
  EXPECT_FALSE(USPrefs::showAdminUsers());
  setManaged("HideAdminUsers", "n");
  EXPECT_TRUE(USPrefs::showAdminUsers());
}

}  // namespace
}  // namespace gatehall
