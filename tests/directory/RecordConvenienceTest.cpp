#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/directory/RecordConvenience.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

class RecordConvenience : public Machine {
 protected:
  /// The user ann with one more attribute, as the layer finds her.
  std::shared_ptr<DirectoryRecord> annWith(std::string_view kind, Strings values) {
    addUser({{"RecordName", {"ann", "annie"}}, {std::string(kind), std::move(values)}});
    return recordNamed(record::Users, "ann");
  }

  std::uint32_t uidOf(Strings uniqueIDs) {
    install(cast::machine({}));
    return getUID(*annWith("UniqueID", std::move(uniqueIDs)));
  }
};

TEST_F(RecordConvenience, ReadsTheUserID) {
  EXPECT_EQ(uidOf({"501"}), 501U);
  EXPECT_EQ(uidOf({"0"}), 0U);
  EXPECT_EQ(uidOf({"4294967294"}), 4294967294U);
  EXPECT_EQ(uidOf({"-2"}), 4294967294U);
  EXPECT_THAT(diagnostics(), IsEmpty());
}

TEST_F(RecordConvenience, ReadsTheIntegerThatAUserIDBeginsWith) {
  EXPECT_EQ(uidOf({"501 or so"}), 501U);
  EXPECT_EQ(uidOf({"nobody"}), 0U);
}

TEST_F(RecordConvenience, AnswersTheFirstOfTwoUserIDsAndReportsTheirListOnce) {
  EXPECT_EQ(uidOf({"501", "502"}), 501U);
  EXPECT_THAT(diagnostics(), ElementsAre("Too many unique IDs for user (501, 502), will use the "
                                         "first one."));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(RecordConvenience, AnswersTheUnreadableUserIDWithoutOne) {
  addUser({{"RecordName", {"ann"}}});
  EXPECT_EQ(getUID(*recordNamed(record::Users, "ann")), 0xFFFFFFFEU);
  EXPECT_EQ(uidOf({}), 0xFFFFFFFEU);
  EXPECT_THAT(diagnostics(), IsEmpty());
}

TEST_F(RecordConvenience, AnswersTheFirstGUIDOrNone) {
  EXPECT_THAT(getGUID(*annWith("GUID", {"G1", "G2"})), Optional(std::string("G1")));
  install(cast::machine({}));
  EXPECT_EQ(getGUID(*annWith("GUID", {})), std::nullopt);
  install(cast::machine({}));
  EXPECT_EQ(getGUID(*annWith("FullName", {"Ann"})), std::nullopt);
}

TEST_F(RecordConvenience, OpensTheNodeThatHoldsTheRecord) {
  const auto ann = annWith("FullName", {"Ann"});
  const auto home = node(*ann);
  ASSERT_NE(home, nullptr);
  EXPECT_THAT(home->nodeName(), Optional(std::string("local")));
}

TEST_F(RecordConvenience, OpensTheFirstNodeThatTheRecordNames) {
  const auto ann = annWith("MetaNodeLocation", {"unix", "local"});
  EXPECT_THAT(node(*ann)->nodeName(), Optional(std::string("unix")));
}

TEST_F(RecordConvenience, AnswersNoNodeForARecordThatNamesNone) {
  const auto ann = annWith("MetaNodeLocation", {});
  forgetCalls();
  EXPECT_EQ(node(*ann), nullptr);
  EXPECT_THAT(calls("nodeByName"), IsEmpty());
}

TEST_F(RecordConvenience, AnswersNoNodeWhenItCannotBeOpened) {
  const auto ann = annWith("MetaNodeLocation", {"ldap/elsewhere.example.org"});
  EXPECT_EQ(node(*ann), nullptr);
}

TEST_F(RecordConvenience, IsDescribedByTheListOfItsNames) {
  EXPECT_EQ(description(*annWith("FullName", {"Ann Lee"})), "(ann, annie)");
}

TEST_F(RecordConvenience, OrdersRecordsByGUIDCaseSensitively) {
  addUser({{"RecordName", {"small"}}, {"GUID", {"a1"}}});
  addUser({{"RecordName", {"capital"}}, {"GUID", {"B1"}}});
  addUser({{"RecordName", {"long"}}, {"GUID", {"a10"}}});
  addUser({{"RecordName", {"none"}}});
  const auto order = [](const char* left, const char* right) {
    return compareGUIDs(*recordNamed(record::Users, left), *recordNamed(record::Users, right));
  };
  EXPECT_EQ(order("capital", "small"), -1);
  EXPECT_EQ(order("small", "capital"), 1);
  EXPECT_EQ(order("small", "small"), 0);
  EXPECT_EQ(order("small", "long"), -1);
  EXPECT_EQ(order("none", "capital"), -1);
  EXPECT_EQ(order("none", "none"), 0);
}

TEST_F(RecordConvenience, LeavesFailuresToItsCallers) {
  annWith("GUID", {"G1"});
  fail({{"valuesForAttribute"}});
  const auto ann = recordNamed(record::Users, "ann");
  EXPECT_THROW(getUID(*ann), PlatformException);
  EXPECT_THROW(getGUID(*ann), PlatformException);
  EXPECT_THROW(node(*ann), PlatformException);
}

TEST_F(RecordConvenience, ReadsAFailureWithoutExceptionAsAbsent) {
  annWith("GUID", {"G1"});
  fail({{"valuesForAttribute", Fault::Kind::Absent}});
  const auto ann = recordNamed(record::Users, "ann");
  EXPECT_EQ(getUID(*ann), 0xFFFFFFFEU);
  EXPECT_EQ(getGUID(*ann), std::nullopt);
  EXPECT_EQ(node(*ann), nullptr);
}

}  // namespace
}  // namespace gatehall
