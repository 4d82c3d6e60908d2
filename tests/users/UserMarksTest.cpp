#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::EndsWith;
using ::testing::StartsWith;

class UserMarks : public Machine {
 protected:
  UserMarks() { install(cast::machineOfAll()); }
};

using UserDescription = UserMarks;

TEST_F(UserMarks, CurrentIsSetByExactlyOneAndClearedByAnythingElse) {
  const auto ann = userNamed("ann");
  constexpr signed char others[] = {0, 2, -1, 127};
  for (const auto other : others) {
    ann->setCurrentUser(1);
    EXPECT_TRUE(ann->isCurrentUser());
    ann->setCurrentUser(other);
    EXPECT_FALSE(ann->isCurrentUser()) << static_cast<int>(other);
  }
}

TEST_F(UserMarks, SuspendedAndSmartCardAreSetByAnythingButZero) {
  const auto ann = userNamed("ann");
  constexpr signed char others[] = {1, 2, -1, 127};
  for (const auto other : others) {
    ann->setSuspended(0);
    ann->setSmartCardUser(0);
    EXPECT_FALSE(ann->isSuspended() || ann->isSmartCardUser());
    ann->setSuspended(other);
    ann->setSmartCardUser(other);
    EXPECT_TRUE(ann->isSuspended() && ann->isSmartCardUser()) << static_cast<int>(other);
  }
}

TEST_F(UserMarks, AreIndependent) {
  const auto ann = userNamed("ann");
  ann->setCurrentUser(1);
  ann->setSuspended(1);
  ann->setCurrentUser(0);
  EXPECT_TRUE(ann->isSuspended());
  EXPECT_FALSE(ann->isCurrentUser() || ann->isSmartCardUser() || ann->isOtherUser());
  const auto jane = CachedUser::cachedOtherUser("Jane");
  jane->setSmartCardUser(1);
  jane->setCurrentUser(2);
  EXPECT_TRUE(jane->isOtherUser() && jane->isSmartCardUser());
}

TEST_F(UserDescription, OfASuspendedLocalUserEndsInBothInThisOrder) {
  const auto ann = userNamed("ann");
  ann->setSuspended(1);
  EXPECT_THAT(ann->description(), EndsWith("}; Suspended; Local"));
}

TEST_F(UserDescription, BeginsWithTheTextOfTheRecordsAttributes) {
  const auto ann = userNamed("ann");
  EXPECT_EQ(ann->description(), description(*ann->attributes()) + "; Local");
  EXPECT_THAT(ann->description(), StartsWith("{AuthenticationAuthority = (;ShadowHash;); "));
}

TEST_F(UserDescription, OfAPlainNetworkUserIsTheRecordsTextOnly) {
  const auto dana = userNamed("dana", cast::kNetworkNode);
  EXPECT_EQ(dana->description(), description(*dana->attributes()));
}

TEST_F(UserDescription, NamesASmartCardAfterLocal) {
  const auto ann = userNamed("ann");
  ann->setSmartCardUser(1);
  ann->setSuspended(1);
  ann->setCurrentUser(1);
  EXPECT_THAT(ann->description(), EndsWith("}; Suspended; Local; SmartCardUser"));
}

TEST_F(UserDescription, OfAnOtherUserBeginsWithNothing) {
  const auto jane = CachedUser::cachedOtherUser("Jane");
  EXPECT_EQ(jane->description(), "; Other");
  jane->setSuspended(1);
  jane->setSmartCardUser(1);
  EXPECT_EQ(jane->description(), "; Suspended; SmartCardUser; Other");
}

}  // namespace
}  // namespace gatehall
