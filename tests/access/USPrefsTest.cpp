#include <gtest/gtest.h>

#include "gatehall/access/GHUIManagedPrefs.h"
#include "gatehall/access/USPrefs.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

constexpr auto kDomain = "com.orvane.gatehall";

class USPrefsTest : public InstalledWorld {
 protected:
  void setManaged(Dictionary values) {
    mWorld->propertyLists().setFile("/Library/Managed Preferences/com.orvane.gatehall.plist",
                                    std::move(values));
  }

  void setStored(std::string_view key, Value value,
                 WorldPreferences::Scope scope = WorldPreferences::Scope::System) {
    mWorld->preferences().setValue(scope, kDomain, key, std::move(value));
  }
};

TEST_F(USPrefsTest, WithoutFilesAndStoredValuesEveryAccessorAnswersItsDefault) {
  EXPECT_EQ(USPrefs::allowedList(), std::nullopt);
  EXPECT_EQ(USPrefs::deniedList(), std::nullopt);
  EXPECT_EQ(USPrefs::hiddenUsersList(), std::nullopt);
  EXPECT_FALSE(USPrefs::hide500Users());
  EXPECT_TRUE(USPrefs::localUserLoginEnabled());
  EXPECT_TRUE(USPrefs::showAdminUsers());
  EXPECT_TRUE(USPrefs::showLocalUsers());
  EXPECT_TRUE(USPrefs::showMobileHomeUsers());
  EXPECT_FALSE(USPrefs::showNetworkUsers());
}

TEST_F(USPrefsTest, ReadsEachStoredValueUnderItsKey) {
  setStored("AllowList", Array{"allowed"});
  setStored("DenyList", Array{"denied"});
  setStored("HiddenUsersList", Array{"hidden"});
  setStored("Hide500Users", true);
  setStored("LocalUserLoginEnabled", false);
  setStored("HideAdminUsers", true);
  setStored("HideLocalUsers", true);
  setStored("HideMobileAccounts", true);
  EXPECT_EQ(USPrefs::allowedList(), Array{"allowed"});
  EXPECT_EQ(USPrefs::deniedList(), Array{"denied"});
  EXPECT_EQ(USPrefs::hiddenUsersList(), Array{"hidden"});
  EXPECT_TRUE(USPrefs::hide500Users());
  EXPECT_FALSE(USPrefs::localUserLoginEnabled());
  EXPECT_FALSE(USPrefs::showAdminUsers());
  EXPECT_FALSE(USPrefs::showLocalUsers());
  EXPECT_FALSE(USPrefs::showMobileHomeUsers());
}

TEST_F(USPrefsTest, ReadsEachManagedValueUnderItsKey) {
  setManaged({{"AllowList", Array{"allowed"}},
              {"DenyList", Array{"denied"}},
              {"HiddenUsersList", Array{"hidden"}},
              {"Hide500Users", true},
              {"LocalUserLoginEnabled", false},
              {"HideAdminUsers", true},
              {"HideLocalUsers", true},
              {"HideMobileAccounts", true}});
  EXPECT_EQ(USPrefs::allowedList(), Array{"allowed"});
  EXPECT_EQ(USPrefs::deniedList(), Array{"denied"});
  EXPECT_EQ(USPrefs::hiddenUsersList(), Array{"hidden"});
  EXPECT_TRUE(USPrefs::hide500Users());
  EXPECT_FALSE(USPrefs::localUserLoginEnabled());
  EXPECT_FALSE(USPrefs::showAdminUsers());
  EXPECT_FALSE(USPrefs::showLocalUsers());
  EXPECT_FALSE(USPrefs::showMobileHomeUsers());
}

TEST_F(USPrefsTest, AManagedValueComesBeforeTheStoredOne) {
  setStored("DenyList", Array{"stored"});
  setStored("Hide500Users", false);
  setManaged({{"DenyList", Array{"managed"}}, {"Hide500Users", true}});
  EXPECT_EQ(USPrefs::deniedList(), Array{"managed"});
  EXPECT_TRUE(USPrefs::hide500Users());
}

TEST_F(USPrefsTest, AKeyThatIsNotManagedIsReadFromTheStore) {
  setStored("DenyList", Array{"stored"});
  setManaged({{"AllowList", Array{"managed"}}});
  EXPECT_EQ(USPrefs::deniedList(), Array{"stored"});
}

TEST_F(USPrefsTest, TheUsersOwnSettingComesBeforeTheSystems) {
  setStored("DenyList", Array{"system"});
  setStored("DenyList", Array{"user"}, WorldPreferences::Scope::User);
  EXPECT_EQ(USPrefs::deniedList(), Array{"user"});
}

TEST_F(USPrefsTest, AnEmptyListIsAList) {
  setStored("DenyList", Array{});
  EXPECT_EQ(USPrefs::deniedList(), Array{});
}

TEST_F(USPrefsTest, AStoredValueThatIsNoListIsNoList) {
  setStored("DenyList", "*");
  EXPECT_EQ(USPrefs::deniedList(), std::nullopt);
}

TEST_F(USPrefsTest, AManagedValueThatIsNoListHidesTheStoredList) {
  setStored("AllowList", Array{"stored"});
  setStored("DenyList", Array{"stored"});
  setStored("HiddenUsersList", Array{"stored"});
  setManaged({{"AllowList", "a string"}, {"DenyList", Dictionary{}}, {"HiddenUsersList", 1}});
  EXPECT_EQ(USPrefs::allowedList(), std::nullopt);
  EXPECT_EQ(USPrefs::deniedList(), std::nullopt);
  EXPECT_EQ(USPrefs::hiddenUsersList(), std::nullopt);
}

TEST_F(USPrefsTest, NoSettingShowsNetworkUsers) {
  for (const auto* key : {"ShowNetworkUsers", "HideNetworkUsers"}) {
    for (const bool value : {true, false}) {
      setStored(key, value);
      setManaged({{key, value}});
      USPrefs::synchronize();
      EXPECT_FALSE(USPrefs::showNetworkUsers()) << key << ' ' << value;
    }
  }
}

TEST_F(USPrefsTest, AChangedStoreIsSeenByTheListAccessorsOnlyAfterTheHiddenUsersListWasRead) {
  setStored("DenyList", Array{"before"});
  EXPECT_EQ(USPrefs::deniedList(), Array{"before"});
  setStored("DenyList", Array{"after"});
  EXPECT_EQ(USPrefs::deniedList(), Array{"before"});
  USPrefs::hiddenUsersList();
  EXPECT_EQ(USPrefs::deniedList(), Array{"after"});
}

TEST_F(USPrefsTest, TheHiddenUsersListIsThatOfTheMoment) {
  setStored("HiddenUsersList", Array{"before"});
  EXPECT_EQ(USPrefs::hiddenUsersList(), Array{"before"});
  setStored("HiddenUsersList", Array{"after"});
  EXPECT_EQ(USPrefs::hiddenUsersList(), Array{"after"});
  setManaged({{"HiddenUsersList", Array{"managed"}}});
  EXPECT_EQ(USPrefs::hiddenUsersList(), Array{"managed"});
}

TEST_F(USPrefsTest, NoOtherAccessorReadsTheManagedFilesAgain) {
  USPrefs::allowedList();
  setManaged({{"AllowList", Array{"a"}},
              {"DenyList", Array{"a"}},
              {"Hide500Users", true},
              {"LocalUserLoginEnabled", false},
              {"HideAdminUsers", true},
              {"HideLocalUsers", true},
              {"HideMobileAccounts", true}});
  EXPECT_EQ(USPrefs::allowedList(), std::nullopt);
  EXPECT_EQ(USPrefs::deniedList(), std::nullopt);
  EXPECT_FALSE(USPrefs::hide500Users());
  EXPECT_TRUE(USPrefs::localUserLoginEnabled());
  EXPECT_TRUE(USPrefs::showAdminUsers());
  EXPECT_TRUE(USPrefs::showLocalUsers());
  EXPECT_TRUE(USPrefs::showMobileHomeUsers());
  EXPECT_FALSE(USPrefs::showNetworkUsers());
}

TEST_F(USPrefsTest, SynchronizeReadsTheStoreAndBothManagedFilesAgain) {
  constexpr auto disableAutoLogin = "com.orvane.login.tavlo.DisableAutoLoginClient";
  EXPECT_FALSE(USPrefs::hide500Users());
  EXPECT_TRUE(USPrefs::showAdminUsers());
  setStored("Hide500Users", true);
  setManaged({{"HideAdminUsers", true}});
  mWorld->propertyLists().setFile("/Library/Managed Preferences/com.orvane.Tavlo.plist",
                                  Dictionary{{disableAutoLogin, true}});
  USPrefs::synchronize();
  EXPECT_TRUE(USPrefs::hide500Users());
  EXPECT_FALSE(USPrefs::showAdminUsers());
  EXPECT_EQ(GHUIManagedPrefs::managedPrefs()->objectForKey(disableAutoLogin), Value(true));
}

TEST_F(USPrefsTest, TellsWhereAnAnswerCameFrom) {
  setStored("AllowList", Array{"a"});
  setStored("Hide500Users", false);
  setStored("HideAdminUsers", "no boolean");
  setManaged({{"DenyList", "no list"}, {"LocalUserLoginEnabled", Array{}}});
  const auto of = [](const auto& accessor) {
    auto source = PreferenceSource::Default;
    accessor(&source);
    return std::string_view(description(source));
  };
  EXPECT_EQ(of(USPrefs::allowedList), "preferences");
  EXPECT_EQ(of(USPrefs::deniedList), "managed");
  EXPECT_EQ(of(USPrefs::hiddenUsersList), "default");
  EXPECT_EQ(of(USPrefs::hide500Users), "preferences");
  EXPECT_EQ(of(USPrefs::localUserLoginEnabled), "managed");
  EXPECT_EQ(of(USPrefs::showAdminUsers), "default");
  EXPECT_EQ(of(USPrefs::showNetworkUsers), "default");
}

TEST_F(USPrefsTest, LogsNothing) {
  setManaged({{"AllowList", 1}, {"HideAdminUsers", Array{}}});
  USPrefs::allowedList();
  USPrefs::hiddenUsersList();
  USPrefs::showAdminUsers();
  EXPECT_TRUE(errors().empty());
  EXPECT_TRUE(diagnostics().empty());
}

}  // namespace
}  // namespace gatehall
