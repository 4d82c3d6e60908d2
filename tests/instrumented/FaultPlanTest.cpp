#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "gatehall/base/PlatformException.h"
#include "instrumented/FaultPlan.h"

namespace gatehall {
namespace {

Fault absent(std::string operation, std::optional<std::uint64_t> call = {},
             Fault::Where where = {}) {
  return {std::move(operation), Fault::Kind::Absent, call, std::move(where)};
}

TEST(FaultPlan, FailsOnlyTheCallThatIsNamed) {
  FaultPlan plan({absent("query", 2)});
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", {}));
  EXPECT_TRUE(plan.failsByAnsweringNothing("query", {}));
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", {}));
}

TEST(FaultPlan, CountsEachOperationByItself) {
  FaultPlan plan({absent("query", 1)});
  EXPECT_FALSE(plan.failsByAnsweringNothing("queryResults", {}));
  EXPECT_TRUE(plan.failsByAnsweringNothing("query", {}));
}

TEST(FaultPlan, CountsOnlyCallsThatMatch) {
  FaultPlan plan({absent("valuesForAttribute", 2, {{}, "UserShell", {}, {}})});
  const CallFacts shell{{}, {"UserShell"}, {}, {}, {}};
  const CallFacts picture{{}, {"Picture"}, {}, {}, {}};
  EXPECT_FALSE(plan.failsByAnsweringNothing("valuesForAttribute", shell));
  EXPECT_FALSE(plan.failsByAnsweringNothing("valuesForAttribute", picture));
  EXPECT_TRUE(plan.failsByAnsweringNothing("valuesForAttribute", shell));
}

TEST(FaultPlan, MatchesAKindInEitherSpelling) {
  FaultPlan bySuffix({absent("setValue", {}, {{}, "UserShell", {}, {}})});
  EXPECT_TRUE(bySuffix.failsByAnsweringNothing("setValue",
                                               {{}, {"lxAttrTypeStandard:UserShell"}, {}, {}, {}}));
  FaultPlan inFull({absent("setValue", {}, {{}, "lxAttrTypeStandard:UserShell", {}, {}})});
  EXPECT_TRUE(inFull.failsByAnsweringNothing("setValue", {{}, {"UserShell"}, {}, {}, {}}));
}

TEST(FaultPlan, FailsOnlyWhenEveryNamedArgumentMatches) {
  const Fault::Where where{"local", "RecordName", "bob", "1002"};
  const auto facts = [](std::string node, std::string attribute, std::string value,
                        std::string user) {
    return CallFacts{{},
                     {attribute},
                     {value},
                     [node] { return Strings{node}; },
                     [user] {
                       return Strings{"bob", user};
                     }};
  };
  FaultPlan plan({absent("query", {}, where)});
  EXPECT_TRUE(plan.failsByAnsweringNothing("query", facts("local", "RecordName", "bob", "1002")));
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", facts("unix", "RecordName", "bob", "1002")));
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", facts("local", "UniqueID", "bob", "1002")));
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", facts("local", "RecordName", "ann", "1002")));
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", facts("local", "RecordName", "bob", "1001")));
}

TEST(FaultPlan, ACallWithoutTheArgumentDoesNotMatch) {
  FaultPlan plan(
      {absent("query", {}, {"local", {}, {}, {}}), absent("query", {}, {{}, {}, {}, "bob"})});
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", {}));
}

TEST(FaultPlan, LetsTheFirstOfSeveralDecideAndCountsForAll) {
  FaultPlan plan({absent("query", 1),
                  {"query", Fault::Kind::PlatformException, 1, {}},
                  {"query", Fault::Kind::OtherException, 2, {}}});
  EXPECT_TRUE(plan.failsByAnsweringNothing("query", {}));
  EXPECT_THROW(plan.failsByAnsweringNothing("query", {}), InjectedFailure);
  EXPECT_FALSE(plan.failsByAnsweringNothing("query", {}));
}

TEST(FaultPlan, NamesTheOperationInWhatItRaises) {
  FaultPlan plan({{"query", Fault::Kind::PlatformException, {}, {}}});
  try {
    plan.failsByAnsweringNothing("query", {});
    FAIL() << "nothing was raised";
  } catch (const PlatformException& raised) {
    EXPECT_STREQ(raised.what(), "Injected fault: query");
  }
}

TEST(FaultPlan, RefusesAnOperationThatDoesNotExist) {
  EXPECT_THROW(FaultPlan({absent("qeury")}), std::invalid_argument);
}

TEST(FaultPlan, FailsOneCallOfManyThreads) {
  FaultPlan plan({absent("query", 500)});
  std::atomic<int> failed = 0;
  const auto ask = [&] {
    for (int i = 0; i < 500; ++i) failed += plan.failsByAnsweringNothing("query", {}) ? 1 : 0;
  };
  {
    const std::jthread other(ask);
    ask();
  }
  EXPECT_EQ(failed, 1);
}

}  // namespace
}  // namespace gatehall
