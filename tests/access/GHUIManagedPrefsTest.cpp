#include <gtest/gtest.h>

#include "gatehall/access/GHUIManagedPrefs.h"
#include "gatehall/base/PlatformException.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

constexpr auto kLoginScreenFile = "/Library/Managed Preferences/com.orvane.gatehall.plist";
constexpr auto kTavloFile = "/Library/Managed Preferences/com.orvane.Tavlo.plist";
constexpr auto kDisableAutoLogin = "com.orvane.login.tavlo.DisableAutoLoginClient";

class GHUIManagedPrefsTest : public InstalledWorld {
 protected:
  void setFile(std::string_view path, Value content) {
    mWorld->propertyLists().setFile(path, std::move(content));
  }
};

TEST_F(GHUIManagedPrefsTest, IsOneInstanceAProcessUntilAnotherHostIsInstalled) {
  const auto prefs = GHUIManagedPrefs::managedPrefs();
  EXPECT_EQ(GHUIManagedPrefs::managedPrefs(), prefs);
  install(std::make_shared<World>());
  EXPECT_NE(GHUIManagedPrefs::managedPrefs(), prefs);
}

TEST_F(GHUIManagedPrefsTest, HasNoValueWithoutFiles) {
  EXPECT_EQ(GHUIManagedPrefs::managedPrefs()->objectForKey("DenyList"), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, HasEveryValueOfTheLoginScreensFile) {
  setFile(kLoginScreenFile, Dictionary{{"DenyList", Array{"*"}}, {"Whatever", 7}});
  const GHUIManagedPrefs prefs;
  EXPECT_EQ(prefs.objectForKey("DenyList"), Value(Array{"*"}));
  EXPECT_EQ(prefs.objectForKey("Whatever"), Value(7));
  EXPECT_EQ(prefs.objectForKey("denylist"), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, TakesALoginScreensFileThatIsNoDictionaryForNone) {
  setFile(kLoginScreenFile, Array{"DenyList"});
  EXPECT_EQ(GHUIManagedPrefs().objectForKey("DenyList"), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, KeepsTheLoginScreensValueOfAKeyThatIsInBothFiles) {
  setFile(kLoginScreenFile, Dictionary{{kDisableAutoLogin, "the login screen's"}});
  setFile(kTavloFile, Dictionary{{kDisableAutoLogin, "Tavlo's"}});
  EXPECT_EQ(GHUIManagedPrefs().objectForKey(kDisableAutoLogin), Value("the login screen's"));
}

TEST_F(GHUIManagedPrefsTest, AddsTavlosValueToTheLoginScreensFile) {
  setFile(kLoginScreenFile, Dictionary{{"Hide500Users", true}});
  setFile(kTavloFile, Dictionary{{kDisableAutoLogin, true}});
  const GHUIManagedPrefs prefs;
  EXPECT_EQ(prefs.objectForKey(kDisableAutoLogin), Value(true));
  EXPECT_EQ(prefs.objectForKey("Hide500Users"), Value(true));
}

TEST_F(GHUIManagedPrefsTest, MakesTheManagedValuesOfThatSingleKeyWhenOnlyTavlosFileExists) {
  setFile(kTavloFile, Dictionary{{kDisableAutoLogin, true}, {"DenyList", Array{"*"}}});
  const GHUIManagedPrefs prefs;
  EXPECT_EQ(prefs.objectForKey(kDisableAutoLogin), Value(true));
  EXPECT_EQ(prefs.objectForKey("DenyList"), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, TakesNothingFromATavloFileThatLacksTheKey) {
  setFile(kTavloFile, Dictionary{{"Hide500Users", true}});
  const GHUIManagedPrefs prefs;
  EXPECT_EQ(prefs.objectForKey(kDisableAutoLogin), std::nullopt);
  EXPECT_EQ(prefs.objectForKey("Hide500Users"), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, TakesNothingFromATavloFileThatIsNoDictionary) {
  setFile(kLoginScreenFile, Dictionary{{"Hide500Users", true}});
  setFile(kTavloFile, kDisableAutoLogin);
  const GHUIManagedPrefs prefs;
  EXPECT_EQ(prefs.objectForKey(kDisableAutoLogin), std::nullopt);
  EXPECT_EQ(prefs.objectForKey("Hide500Users"), Value(true));
}

TEST_F(GHUIManagedPrefsTest, SeesChangedFilesOnceItSynchronizes) {
  setFile(kLoginScreenFile, Dictionary{{"Hide500Users", true}});
  GHUIManagedPrefs prefs;
  setFile(kLoginScreenFile, Dictionary{{"Hide500Users", false}});
  EXPECT_EQ(prefs.objectForKey("Hide500Users"), Value(true));
  prefs.synchronize();
  EXPECT_EQ(prefs.objectForKey("Hide500Users"), Value(false));
}

TEST_F(GHUIManagedPrefsTest, LosesEverythingWhenItSynchronizesAndTheFilesAreGone) {
  setFile(kLoginScreenFile, Dictionary{{"Hide500Users", true}});
  setFile(kTavloFile, Dictionary{{kDisableAutoLogin, true}});
  GHUIManagedPrefs prefs;
  mWorld->propertyLists().removeFile(kLoginScreenFile);
  mWorld->propertyLists().removeFile(kTavloFile);
  prefs.synchronize();
  EXPECT_EQ(prefs.objectForKey("Hide500Users"), std::nullopt);
  EXPECT_EQ(prefs.objectForKey(kDisableAutoLogin), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, LosesWhatWasSetWhenItSynchronizes) {
  GHUIManagedPrefs prefs;
  prefs.setObject(Value(true), "Hide500Users");
  prefs.synchronize();
  EXPECT_EQ(prefs.objectForKey("Hide500Users"), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, SetsAValueWhereThereWereNone) {
  GHUIManagedPrefs prefs;
  prefs.setObject(Value("a"), "Key");
  EXPECT_EQ(prefs.objectForKey("Key"), Value("a"));
}

TEST_F(GHUIManagedPrefsTest, SetsAValueBesideAndInPlaceOfOthers) {
  setFile(kLoginScreenFile, Dictionary{{"One", 1}, {"Two", 2}});
  GHUIManagedPrefs prefs;
  prefs.setObject(Value(22), "Two");
  prefs.setObject(Value(3), "Three");
  EXPECT_EQ(prefs.objectForKey("One"), Value(1));
  EXPECT_EQ(prefs.objectForKey("Two"), Value(22));
  EXPECT_EQ(prefs.objectForKey("Three"), Value(3));
}

TEST_F(GHUIManagedPrefsTest, SetsNothingWithoutAValueOrAKey) {
  setFile(kLoginScreenFile, Dictionary{{"One", 1}});
  GHUIManagedPrefs prefs;
  prefs.setObject(std::nullopt, "One");
  prefs.setObject(Value(2), std::nullopt);
  EXPECT_EQ(prefs.objectForKey("One"), Value(1));
  EXPECT_EQ(prefs.objectForKey(""), std::nullopt);
}

TEST_F(GHUIManagedPrefsTest, LogsNothingWhateverTheFilesAre) {
  setFile(kLoginScreenFile, "no dictionary");
  setFile(kTavloFile, 5);
  GHUIManagedPrefs().synchronize();
  EXPECT_TRUE(errors().empty());
  EXPECT_TRUE(diagnostics().empty());
}

TEST_F(GHUIManagedPrefsTest, AnswersNothingBetweenAFailureToSynchronizeAndASuccess) {
  setFile(kLoginScreenFile, Dictionary{{"DenyList", Array{"*"}}});
  GHUIManagedPrefs prefs;
  for (const int failing : {1, 2}) {  // the login screen's file, then the other one
    fail({{"readPropertyList", Fault::Kind::PlatformException, failing, {}}});
    EXPECT_THROW(prefs.synchronize(), PlatformException);
    fail({{"readPropertyList", Fault::Kind::PlatformException, {}, {}}});
    EXPECT_THROW(prefs.objectForKey("DenyList"), PlatformException);
    EXPECT_THROW(prefs.setObject(Value(1), "One"), PlatformException);
    EXPECT_THROW(prefs.objectForKey("DenyList"), PlatformException);
    fail({});
    EXPECT_EQ(prefs.objectForKey("DenyList"), Value(Array{"*"}));
    EXPECT_EQ(prefs.objectForKey("One"), std::nullopt);
  }
}

TEST_F(GHUIManagedPrefsTest, IsMadeAnewAfterAFailureToMakeIt) {
  setFile(kLoginScreenFile, Dictionary{{"One", 1}});
  fail({{"readPropertyList", Fault::Kind::PlatformException, 1, {}}});
  EXPECT_THROW(GHUIManagedPrefs::managedPrefs(), PlatformException);
  EXPECT_EQ(GHUIManagedPrefs::managedPrefs()->objectForKey("One"), Value(1));
}

}  // namespace
}  // namespace gatehall
