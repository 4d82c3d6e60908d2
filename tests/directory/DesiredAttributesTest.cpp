#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/users/CachedUser.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;

TEST(DesiredAttributes, AreTheseNineteenInOrderWithThePrimaryGroupTwice) {
  EXPECT_THAT(CachedUser::desiredAttributes(),
              ElementsAre("MetaNodeLocation", "AuthenticationAuthority", "HomeDirectory",
                          "NFSHomeDirectory", "Password", "Picture", "JPEGPhoto", "PrimaryGroupID",
                          "FullName", "RecordName", "UniqueID", "UserShell", "GUID",
                          "CopyTimestamp", "OriginalNodeName", "PrimaryGroupID", "TavloSettings",
                          "lxAttrTypeNative:_guest", "lxAttrTypeNative:external"));
}

TEST(DesiredAttributes, AreOneListForTheLifeOfTheProcess) {
  EXPECT_EQ(&CachedUser::desiredAttributes(), &CachedUser::desiredAttributes());
}

}  // namespace
}  // namespace gatehall
