#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CachedUserCreation : public Machine {
 protected:
  CachedUserCreation() {
    install(cast::machineOfAll());
    addUser({{"RecordName", {"daemon"}}, {"UniqueID", {"1"}}, {"UserShell", {"/usr/bin/false"}}});
    addUser({{"RecordName", {"kim"}}, {"UniqueID", {"7"}}, {"TavloSettings", {"<settings/>"}}});
  }
};

TEST_F(CachedUserCreation, KeepsTheRecordItIsMadeOf) {
  const auto record = recordNamed(record::Users, "ann");
  const auto ann = CachedUser::cachedUserWithDirvoRecord(record);
  ASSERT_NE(ann, nullptr);
  EXPECT_EQ(ann->DirvoRecord(), record);
  EXPECT_FALSE(ann->isCurrentUser() || ann->isOtherUser() || ann->isSmartCardUser() ||
               ann->isSuspended());
}

TEST_F(CachedUserCreation, FetchesAllDetailsOfTheRecord) {
  const auto record = recordNamed(record::Users, "ann");
  forgetCalls();
  CachedUser::cachedUserWithDirvoRecord(record);
  EXPECT_THAT(calls("recordDetails"),
              ElementsAre(Call{"recordDetails", {{"record", "ann"}, {"attributes", Array{}}}}));
}

TEST_F(CachedUserCreation, RefusesARecordThatMayNotBeUsedSilently) {
  EXPECT_EQ(userNamed("daemon"), nullptr);
  EXPECT_EQ(CachedUser::cachedUserWithDirvoRecord(nullptr), nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserCreation, RefusesARecordWhoseDetailsAreAbsentAndLeavesFailuresToItsCallers) {
  fail({{"recordDetails", Fault::Kind::Absent}});
  EXPECT_EQ(userNamed("ann"), nullptr);
  fail({{"recordDetails"}});
  EXPECT_THROW(userNamed("ann"), PlatformException);
}

TEST_F(CachedUserCreation, AsksParentalControlsAboutAManagedAccount) {
  mWorld->parentalControls().setLimit(7, {false, 3, std::nullopt});
  EXPECT_FALSE(userNamed("kim")->kinwatchAllowsLogin());
  EXPECT_FALSE(CachedUser::cachedUserWithAttributes({{"RecordName", "kim"}, {"UniqueID", "7"}})
                   ->kinwatchAllowsLogin());
  EXPECT_THAT(calls("mayLogInNow"), ElementsAre(Call{"mayLogInNow", {{"userID", 7}}},
                                                Call{"mayLogInNow", {{"userID", 7}}}));
}

TEST_F(CachedUserCreation, ResolvesAttributesToTheirRecordAndKeepsNoneOfThem) {
  const auto ann = CachedUser::cachedUserWithAttributes(
      {{"RecordName", "annie"}, {"UniqueID", "9"}, {"FullName", "Another"}, {"GUID", "X"}});
  ASSERT_NE(ann, nullptr);
  EXPECT_EQ(ann->shortName(), "ann");
  EXPECT_EQ(ann->getUid(), 1000U);
  EXPECT_EQ(ann->longName(), "Ann Lee");
  EXPECT_EQ(ann->getGUID(), cast::kAnnGUID);
  EXPECT_EQ(ann->fusPassword(), std::nullopt);
}

TEST_F(CachedUserCreation, KeepsThePasswordOfTheAttributesItIsMadeOf) {
  const auto ann = CachedUser::cachedUserWithAttributes(
      {{"RecordName", "ann"}, {"UniqueID", "1000"}, {"UserPasswordKey", "s3cret"}});
  EXPECT_EQ(ann->fusPassword(), "s3cret");
  EXPECT_EQ(ann->getAttribute("UserPasswordKey"), Value("s3cret"));
  EXPECT_EQ(ann->attributes()->count("UserPasswordKey"), 0U);
}

TEST_F(CachedUserCreation, KeepsNothingElseOfAttributesWithAPassword) {
  const auto ann = CachedUser::cachedUserWithAttributes({{"RecordName", "annie"},
                                                         {"UniqueID", "9"},
                                                         {"FullName", "Another"},
                                                         {"UserPasswordKey", "s3cret"}});
  EXPECT_EQ(ann->shortName(), "ann");
  EXPECT_EQ(ann->getUid(), 1000U);
  EXPECT_EQ(ann->longName(), "Ann Lee");
}

TEST_F(CachedUserCreation, RefusesAttributesThatMayNotBeUsedWithoutAskingTheDirectory) {
  forgetCalls();
  EXPECT_EQ(CachedUser::cachedUserWithAttributes({{"RecordName", "ann"}}), nullptr);
  EXPECT_EQ(CachedUser::cachedUserWithAttributes({{"RecordName", ""}, {"UniqueID", "1"}}), nullptr);
  EXPECT_THAT(calls(), IsEmpty());
}

// Only the dictionary is examined, not what it resolves to.
TEST_F(CachedUserCreation, AdmitsAttributesThatMayBeUsedThoughTheirRecordMayNot) {
  EXPECT_NE(CachedUser::cachedUserWithAttributes({{"RecordName", "daemon"}, {"UniqueID", "1"}}),
            nullptr);
}

TEST_F(CachedUserCreation, RefusesAttributesThatDescribeNobody) {
  EXPECT_EQ(CachedUser::cachedUserWithAttributes({{"RecordName", "nobody"}, {"UniqueID", "1"}}),
            nullptr);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(CachedUserCreation, LogsTheDirectorysFailureToResolveAttributes) {
  fail({{"queryResults"}});
  EXPECT_EQ(CachedUser::cachedUserWithAttributes({{"RecordName", "ann"}, {"UniqueID", "1"}}),
            nullptr);
  EXPECT_THAT(errors(), ElementsAre("Unable to find the users on the search node."));
}

TEST_F(CachedUserCreation, OfAnOtherUserNamesItAndAsksNothing) {
  forgetCalls();
  const auto jane = CachedUser::cachedOtherUser("Jane");
  ASSERT_NE(jane, nullptr);
  EXPECT_EQ(jane->shortName(), "Jane");
  EXPECT_EQ(jane->longName(), "Jane");
  EXPECT_EQ(jane->getAttributes("RecordName"), Value(Array{"Jane"}));
  EXPECT_EQ(jane->getAttributes("FullName"), Value(Array{"Jane"}));
  EXPECT_TRUE(jane->isOtherUser());
  EXPECT_FALSE(jane->isCurrentUser() || jane->isSmartCardUser() || jane->isSuspended());
  EXPECT_EQ(jane->getUid(), 0xFFFFFFFEU);
  EXPECT_EQ(jane->DirvoRecord(), nullptr);
  EXPECT_EQ(jane->attributes(), std::nullopt);
  EXPECT_TRUE(jane->kinwatchAllowsLogin());
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(CachedUserCreation, OfAnOtherUserAdmitsAnEmptyNameAndRefusesNone) {
  EXPECT_EQ(CachedUser::cachedOtherUser("")->shortName(), "");
  EXPECT_EQ(CachedUser::cachedOtherUser(std::nullopt), nullptr);
}

}  // namespace
}  // namespace gatehall
