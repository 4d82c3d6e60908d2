#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class AttributeAccess : public Machine {
 protected:
  AttributeAccess() { install(cast::machineOfAll()); }

  std::shared_ptr<CachedUser> annWithPassword(Value password) {
    return CachedUser::cachedUserWithAttributes(
        {{"RecordName", "ann"}, {"UniqueID", "1000"}, {"UserPasswordKey", std::move(password)}});
  }
};

TEST_F(AttributeAccess, AnswersTheRecordsFirstValueAndAllOfThem) {
  const auto ann = userNamed("ann");
  EXPECT_EQ(ann->getAttribute("RecordName"), Value("ann"));
  EXPECT_EQ(ann->getAttributes("RecordName"), Value(Array{"ann", "annie"}));
}

TEST_F(AttributeAccess, TakesKindsBySuffixAndInFull) {
  EXPECT_EQ(userNamed("ann")->getAttribute("lxAttrTypeStandard:UniqueID"), Value("1000"));
  EXPECT_EQ(userNamed("ann")->getAttributes("lxAttrTypeStandard:RecordName"),
            Value(Array{"ann", "annie"}));
}

TEST_F(AttributeAccess, AnswersAbsentForAKindThatTheRecordLacks) {
  EXPECT_EQ(userNamed("bob")->getAttribute("Picture"), std::nullopt);
  EXPECT_EQ(userNamed("bob")->getAttributes("Picture"), std::nullopt);
}

TEST_F(AttributeAccess, PutsLocalValuesBeforeTheRecords) {
  mWorld->directory().node("local")->record("Users", "ann")->setValues("UserPasswordKey", {"r"});
  const auto ann = annWithPassword("local");
  EXPECT_EQ(ann->getAttribute("UserPasswordKey"), Value("local"));
  EXPECT_EQ(ann->getAttributes("UserPasswordKey"), Value("local"));
}

TEST_F(AttributeAccess, FallsThroughAnEmptyLocalListForTheFirstValueOnly) {
  mWorld->directory().node("local")->record("Users", "ann")->setValues("UserPasswordKey", {"r"});
  const auto ann = annWithPassword(Array{});
  EXPECT_EQ(ann->getAttribute("UserPasswordKey"), Value("r"));
  EXPECT_EQ(ann->getAttributes("UserPasswordKey"), Value(Array{}));
}

TEST_F(AttributeAccess, AnswersAbsentForAnyFailureOfTheDirectoryAndLogsNothing) {
  fail({{"valuesForAttribute"}});
  const auto ann = CachedUser::cachedUserWithDirvoRecord(recordNamed(record::Users, "ann"));
  ASSERT_NE(ann, nullptr);
  EXPECT_EQ(ann->getAttribute("RecordName"), std::nullopt);
  EXPECT_EQ(ann->getAttributes("RecordName"), std::nullopt);
  EXPECT_EQ(ann->shortName(), std::nullopt);
  EXPECT_EQ(ann->longName(), std::nullopt);
  EXPECT_EQ(ann->getUid(), 0xFFFFFFFEU);
  EXPECT_FALSE(ann->isLocalUser());
  EXPECT_FALSE(ann->isGuestUser());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(AttributeAccess, LetsOtherExceptionsPass) {
  const auto record = recordNamed(record::Users, "ann");
  fail({{"valuesForAttribute", Fault::Kind::OtherException, {}, {.attribute = "FullName"}}});
  const auto ann = userNamed("ann");
  EXPECT_THROW(static_cast<void>(ann->getAttribute("FullName")), InjectedFailure);
  EXPECT_THROW(static_cast<void>(ann->getAttributes("FullName")), InjectedFailure);
}

TEST_F(AttributeAccess, FetchesAllDetailsAnewEachTime) {
  const auto ann = userNamed("ann");
  forgetCalls();
  const auto all = ann->attributes();
  ASSERT_TRUE(all.has_value());
  EXPECT_EQ(all->at("RecordName"), Value(Array{"ann", "annie"}));
  EXPECT_EQ(all->at("MetaNodeLocation"), Value(Array{"local"}));
  ann->attributes();
  EXPECT_EQ(calls("recordDetails").size(), 2U);
}

TEST_F(AttributeAccess, SeesWhatChangedAfterTheRecordIsSynchronized) {
  const auto ann = userNamed("ann");
  mWorld->directory().node("local")->record("Users", "ann")->setValues("FullName", {"Ann Moon"});
  EXPECT_EQ(ann->longName(), "Ann Lee");
  ann->updateUserAttributes();
  EXPECT_EQ(ann->longName(), "Ann Moon");
  EXPECT_THAT(calls("synchronize"), ElementsAre(Call{"synchronize", {{"record", "ann"}}}));
}

TEST_F(AttributeAccess, UpdatesNothingForAnOtherUser) {
  CachedUser::cachedOtherUser("Jane")->updateUserAttributes();
  EXPECT_THAT(calls("synchronize"), IsEmpty());
}

}  // namespace
}  // namespace gatehall
