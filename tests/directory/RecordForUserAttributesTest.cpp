#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/directory/RecordForUserAttributes.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordForUserAttributes : public Machine {
 protected:
  /// Three accounts by the name of sam, who are told apart by their full names.
  void addThreeSams(Strings userIDs = {"1", "2", "3"}) {
    addUser({{"RecordName", {"sam"}},
             {"UniqueID", {userIDs[0]}},
             {"GUID", {"G1"}},
             {"FullName", {"first"}}});
    addUser({{"RecordName", {"sam"}},
             {"UniqueID", {userIDs[1]}},
             {"GUID", {"22"}},
             {"FullName", {"second"}}},
            cast::kNetworkNode);
    addUser({{"RecordName", {"sam"}},
             {"UniqueID", {userIDs[2]}},
             {"GUID", {"22"}},
             {"FullName", {"third"}}},
            cast::kNetworkNode);
  }

  static std::string fullNameOf(const Dictionary& attributes) {
    const auto found = recordForUserAttributes(attributes);
    return found ? found->valuesForAttribute("FullName")->front() : "nobody";
  }
};

TEST_F(RecordForUserAttributes, FindsTheOneRecordOfThatName) {
  addUser({{"RecordName", {"ann"}}, {"FullName", {"Ann Lee"}}}, cast::kNetworkNode);
  EXPECT_EQ(fullNameOf({{"RecordName", "ann"}}), "Ann Lee");
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("search", "RecordName", {"ann"})));
}

TEST_F(RecordForUserAttributes, AnswersASingleHitWhateverItsGUIDAndUserID) {
  addUser({{"RecordName", {"ann"}}, {"FullName", {"Ann Lee"}}, {"GUID", {"G"}}});
  EXPECT_EQ(fullNameOf({{"RecordName", "ann"}, {"GUID", "OTHER"}, {"UniqueID", "7"}}), "Ann Lee");
}

TEST_F(RecordForUserAttributes, TakesTheFirstOfAnArrayOfNames) {
  addUser({{"RecordName", {"ann"}}, {"FullName", {"Ann Lee"}}});
  addUser({{"RecordName", {"bob"}}, {"FullName", {"Bob Ray"}}});
  EXPECT_EQ(fullNameOf({{"RecordName", Array{"bob", "ann"}}}), "Bob Ray");
}

TEST_F(RecordForUserAttributes, FindsNobodyByANumberForAName) {
  addUser({{"RecordName", {"501"}}, {"FullName", {"Five"}}});
  EXPECT_EQ(fullNameOf({{"RecordName", 501}}), "nobody");
  EXPECT_THAT(calls("query"), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(RecordForUserAttributes, FindsNobodyWithoutAName) {
  EXPECT_EQ(fullNameOf({{"UniqueID", "501"}}), "nobody");
  EXPECT_THAT(calls("query"), IsEmpty());
}

TEST_F(RecordForUserAttributes, FindsNobodyByAnUnknownNameAndLogsNothing) {
  EXPECT_EQ(fullNameOf({{"RecordName", "nobody"}}), "nobody");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(RecordForUserAttributes, AsksTheNodeThatTheAttributesName) {
  addThreeSams();
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"MetaNodeLocation", "local"}}), "first");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"MetaNodeLocation", Array{"local", "unix"}}}),
            "first");
  EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("local", "RecordName", {"sam"}),
                                          usersQueryCall("local", "RecordName", {"sam"})));
}

TEST_F(RecordForUserAttributes, FallsBackToTheSearchNode) {
  addUser({{"RecordName", {"ann"}}, {"FullName", {"Ann Lee"}}});
  for (const auto& location :
       {Value("ldap/elsewhere.example.org"), Value(7), Value(Array{}), Value(Array{7})}) {
    forgetCalls();
    EXPECT_EQ(fullNameOf({{"RecordName", "ann"}, {"MetaNodeLocation", location}}), "Ann Lee");
    EXPECT_THAT(calls("query"), ElementsAre(usersQueryCall("search", "RecordName", {"ann"})))
        << location.description();
  }
}

TEST_F(RecordForUserAttributes, DecidesBetweenSeveralByGUID) {
  addThreeSams();
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"GUID", "G1"}, {"UniqueID", "3"}}), "first");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"GUID", Array{"22", "G1"}}}), "second");
}

TEST_F(RecordForUserAttributes, ComparesTheTextOfANumericGUID) {
  addThreeSams();
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"GUID", 22}}), "second");
}

TEST_F(RecordForUserAttributes, ThenDecidesByUserID) {
  addThreeSams();
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"UniqueID", "3"}}), "third");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"UniqueID", 2}}), "second");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"UniqueID", Array{"3", "2"}}}), "third");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"GUID", "NONE"}, {"UniqueID", "2"}}), "second");
}

TEST_F(RecordForUserAttributes, ComparesUserIDsIn32Bits) {
  addThreeSams({"1", "4294967294", "3"});
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"UniqueID", -2}}), "second");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"UniqueID", "4294967294"}}), "second");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"UniqueID", std::int64_t{0x100000003}}}), "third");
}

TEST_F(RecordForUserAttributes, LooksForUserIDZeroWithoutOne) {
  addThreeSams({"1", "2", "0"});
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}}), "third");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"GUID", "NONE"}}), "third");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"UniqueID", Date{}}}), "third");
}

TEST_F(RecordForUserAttributes, FindsNobodyWhenNoneOfSeveralMatches) {
  addThreeSams();
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}}), "nobody");
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"GUID", "NONE"}, {"UniqueID", "9"}}), "nobody");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(RecordForUserAttributes, FindsNobodyWithoutANode) {
  addThreeSams();
  mWorld->directory().removeSearchNode();
  EXPECT_EQ(fullNameOf({{"RecordName", "sam"}}), "nobody");
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(RecordForUserAttributes, FindsNobodyWhenTheQueryOrItsResultsAreAbsent) {
  addThreeSams();
  for (const auto* operation : {"query", "queryResults"}) {
    fail({{operation, Fault::Kind::Absent}});
    EXPECT_EQ(fullNameOf({{"RecordName", "sam"}, {"GUID", "G1"}}), "nobody") << operation;
  }
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(RecordForUserAttributes, LogsAFailureOnce) {
  for (const auto* operation :
       {"defaultSession", "nodeByName", "query", "queryResults", "valuesForAttribute"}) {
    install(cast::machine({}));
    addThreeSams();
    fail({{operation, Fault::Kind::PlatformException, 1}});
    EXPECT_EQ(recordForUserAttributes({{"RecordName", "sam"},
                                       {"MetaNodeLocation", std::string(cast::kNetworkNode)},
                                       {"GUID", "22"}}),
              nullptr)
        << operation;
    EXPECT_THAT(errors(), ElementsAre("Unable to find the users on the search node.")) << operation;
  }
}

TEST_F(RecordForUserAttributes, LetsOtherExceptionsPass) {
  fail({{"queryResults", Fault::Kind::OtherException}});
  EXPECT_THROW(recordForUserAttributes({{"RecordName", "sam"}}), InjectedFailure);
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace gatehall
