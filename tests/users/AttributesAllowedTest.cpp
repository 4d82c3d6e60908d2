#include <gtest/gtest.h>

#include "gatehall/users/CachedUser.h"

namespace gatehall {
namespace {

/// Whether an account that is all right but for these attributes is admitted.
bool isAllowedWith(const Dictionary& attributes) {
  Dictionary all = attributes;
  all.insert({{"RecordName", Array{"ann"}}, {"UniqueID", Array{"1000"}}});
  return CachedUser::attributesAllowed(all);
}

bool isAllowedWithout(std::string_view kind) {
  Dictionary attributes = {{"RecordName", Array{"ann"}}, {"UniqueID", Array{"1000"}}};
  attributes.erase(attributes.find(kind));
  return CachedUser::attributesAllowed(attributes);
}

TEST(AttributesAllowed, NeedANameAndAUserIDOnly) {
  EXPECT_TRUE(isAllowedWith({}));
  EXPECT_TRUE(CachedUser::attributesAllowed({{"RecordName", "ann"}, {"UniqueID", 1000}}));
}

TEST(AttributesAllowed, RefuseTheShellFalseWhateverElseTheyHold) {
  EXPECT_FALSE(isAllowedWith({{"UserShell", Array{"/usr/bin/false"}}}));
  EXPECT_FALSE(isAllowedWith({{"UserShell", "/usr/bin/false"},
                              {"AuthenticationAuthority", Array{";ShadowHash;"}},
                              {"Password", Array{"********"}}}));
  EXPECT_FALSE(isAllowedWith({{"UserShell", Array{"/bin/sh", "/usr/bin/false"}}}));
  EXPECT_TRUE(isAllowedWith({{"UserShell", Array{"/bin/false"}}}));
}

TEST(AttributesAllowed, RefuseADisabledAuthority) {
  EXPECT_FALSE(isAllowedWith({{"AuthenticationAuthority", Array{";DisabledUser;"}}}));
  EXPECT_FALSE(isAllowedWith({{"AuthenticationAuthority", Array{";DisabledUser;;ShadowHash;"}}}));
  EXPECT_FALSE(
      isAllowedWith({{"AuthenticationAuthority", Array{";ShadowHash;", "1.0;DisabledUser;"}}}));
  EXPECT_TRUE(isAllowedWith({{"AuthenticationAuthority", Array{";disableduser;"}}}));
}

TEST(AttributesAllowed, RefuseAStarredPasswordWithoutAnAuthority) {
  EXPECT_FALSE(isAllowedWith({{"Password", Array{"*"}}}));
  EXPECT_TRUE(isAllowedWith({{"Password", Array{"**"}}}));
  EXPECT_TRUE(isAllowedWith({{"Password", Array{""}}}));
}

TEST(AttributesAllowed, RefuseAStarredPasswordWithABasicAuthority) {
  EXPECT_FALSE(
      isAllowedWith({{"AuthenticationAuthority", Array{";basic;"}}, {"Password", Array{"*"}}}));
  EXPECT_FALSE(isAllowedWith(
      {{"AuthenticationAuthority", Array{";ShadowHash;", ";basic;"}}, {"Password", Array{"*"}}}));
}

TEST(AttributesAllowed, AdmitAStarredPasswordWithAnotherAuthority) {
  EXPECT_TRUE(isAllowedWith(
      {{"AuthenticationAuthority", Array{";ShadowHash;"}}, {"Password", Array{"*"}}}));
  EXPECT_TRUE(isAllowedWith({{"AuthenticationAuthority", Array{}}, {"Password", Array{"*"}}}));
}

TEST(AttributesAllowed, RefuseAnEmptyOrMissingName) {
  EXPECT_FALSE(CachedUser::attributesAllowed({{"RecordName", ""}, {"UniqueID", "1"}}));
  EXPECT_FALSE(CachedUser::attributesAllowed({{"RecordName", Array{""}}, {"UniqueID", "1"}}));
  EXPECT_FALSE(CachedUser::attributesAllowed({{"RecordName", Array{"a", ""}}, {"UniqueID", "1"}}));
  EXPECT_FALSE(isAllowedWithout("RecordName"));
}

TEST(AttributesAllowed, RefuseAMissingUserID) { EXPECT_FALSE(isAllowedWithout("UniqueID")); }

}  // namespace
}  // namespace gatehall
