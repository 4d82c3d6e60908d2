#pragma once

#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "gatehall/platform/Platform.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall::contracts {

/// A machine without any settings at first.
class PreferenceHost {
 public:
  virtual ~PreferenceHost() = default;
  virtual Platform& platform() = 0;

  /// What somebody else stores: all settings of the domain, the user's and the system's.
  virtual void storeUserSettings(std::string_view domain, const Dictionary& settings) = 0;
  virtual void storeSystemSettings(std::string_view domain, const Dictionary& settings) = 0;

  /// Writes, or takes away, the managed file of the domain.
  virtual void storeManagedFile(std::string_view domain, const Value& content) = 0;
  virtual void removeManagedFile(std::string_view domain) = 0;
};

class PreferenceContract : public testing::TestWithParam<Factory<PreferenceHost>> {
 protected:
  static constexpr std::string_view kDomain = "com.orvane.gatehall";
  static constexpr std::string_view kManaged =
      "/Library/Managed Preferences/com.orvane.gatehall.plist";

  PreferenceStore& store() { return mHost->platform().preferences(); }
  std::optional<Value> read(std::string_view key) {
    return store().copyApplicationValue(key, kDomain);
  }

  const std::unique_ptr<PreferenceHost> mHost = GetParam()();
};

TEST_P(PreferenceContract, AnswersNothingForAKeyThatNobodySet) {
  bool exists = true;
  EXPECT_FALSE(read("AllowList"));
  EXPECT_FALSE(store().applicationBoolean("Hide500Users", kDomain, exists));
  EXPECT_FALSE(exists);
}

TEST_P(PreferenceContract, HandsOutValuesOfEveryKind) {
  const Dictionary settings = {{"text", "Grüße"},
                               {"integer", std::int64_t{-7}},
                               {"real", 1.5},
                               {"flag", true},
                               {"list", Array{"a", "b"}},
                               {"bytes", Data{0, 255}},
                               {"date", Date(std::chrono::seconds(1'700'000'000))},
                               {"dictionary", Dictionary{{"inner", Array{}}}}};
  mHost->storeSystemSettings(kDomain, settings);
  for (const auto& [key, value] : settings) EXPECT_EQ(read(key), value) << key;
}

TEST_P(PreferenceContract, PrefersTheUsersSettingToTheSystems) {
  mHost->storeUserSettings(kDomain, {{"both", "user"}, {"user", "user"}});
  mHost->storeSystemSettings(kDomain, {{"both", "system"}, {"system", "system"}});
  EXPECT_EQ(read("both"), "user");
  EXPECT_EQ(read("user"), "user");
  EXPECT_EQ(read("system"), "system");
}

TEST_P(PreferenceContract, ReadsBooleansByTheStoresRule) {
  mHost->storeSystemSettings(kDomain, {{"true", true},
                                       {"false", false},
                                       {"one", 1},
                                       {"zero", 0},
                                       {"yes", "YES"},
                                       {"no", "no"},
                                       {"word", "perhaps"},
                                       {"list", Array{true}}});
  const auto boolean = [&](std::string_view key) -> std::optional<bool> {
    bool exists = false;
    const bool value = store().applicationBoolean(key, kDomain, exists);
    return exists ? std::optional(value) : std::nullopt;
  };
  for (const auto* key : {"true", "one", "yes"}) EXPECT_EQ(boolean(key), true) << key;
  for (const auto* key : {"false", "zero", "no"}) EXPECT_EQ(boolean(key), false) << key;
  for (const auto* key : {"word", "list", "absent"}) EXPECT_EQ(boolean(key), std::nullopt) << key;
}

TEST_P(PreferenceContract, KeepsDomainsApart) {
  mHost->storeSystemSettings(kDomain, {{"key", "here"}});
  EXPECT_FALSE(store().copyApplicationValue("key", "com.orvane.other"));
}

TEST_P(PreferenceContract, SeesWhatIsStoredNowOnceSynchronized) {
  mHost->storeSystemSettings(kDomain, {{"key", "old"}, {"gone", true}});
  EXPECT_EQ(read("key"), "old");
  mHost->storeSystemSettings(kDomain, {{"key", "new"}});
  store().synchronizePreferences(kDomain);
  EXPECT_EQ(read("key"), "new");
  EXPECT_FALSE(read("gone"));
}

TEST_P(PreferenceContract, ReadsAPropertyListFileAsItIsNow) {
  auto& files = mHost->platform().propertyLists();
  EXPECT_FALSE(files.readPropertyList(kManaged));
  mHost->storeManagedFile(kDomain, Dictionary{{"DenyList", Array{"*"}}});
  EXPECT_EQ(files.readPropertyList(kManaged), Dictionary({{"DenyList", Array{"*"}}}));
  mHost->storeManagedFile(kDomain, Dictionary{{"DenyList", Array{}}});
  EXPECT_EQ(files.readPropertyList(kManaged), Dictionary({{"DenyList", Array{}}}));
  mHost->removeManagedFile(kDomain);
  EXPECT_FALSE(files.readPropertyList(kManaged));
}

}  // namespace gatehall::contracts
