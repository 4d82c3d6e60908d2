#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/request/HostFailure.h"
#include "instrumented/Fault.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

TEST(TraceOption, AddsTheCallsBehindTheAnswersOwnKeys) {
  const auto document = documentOf(runIn(household(), {"--json", "--trace", "switch", "-suspend"}));
  EXPECT_EQ(std::prev(document.end()).key(), "calls");
  EXPECT_EQ(document["calls"], Json::parse(R"([
      {"operation": "effectiveUserID", "arguments": {}},
      {"operation": "copyCurrentSession", "arguments": {}},
      {"operation": "switchToLoginScreen", "arguments": {}}])"));
}

TEST(TraceOption, LeavesTheAnswerAsItIs) {
  auto plain = documentOf(runIn(household(), {"--json", "can-log-in", "1001"}));
  const auto traced = documentOf(runIn(household(), {"--json", "--trace", "can-log-in", "1001"}));
  EXPECT_GT(traced["calls"].size(), 5U);
  plain["calls"] = traced["calls"];
  EXPECT_EQ(traced, plain);
}

TEST(TraceOption, PrintsTheCallsBehindATable) {
  const auto plain = runIn(household(), {"switch", "-suspend"}).output;
  EXPECT_EQ(runIn(household(), {"--trace", "switch", "-suspend"}).output,
            plain +
                "\n"
                "CALL                 ARGUMENTS\n"
                "effectiveUserID\n"
                "copyCurrentSession\n"
                "switchToLoginScreen\n"
                "\n"
                "3 calls\n");
}

TEST(TraceOption, ShowsTheCallsUpToAFailure) {
  const auto outcome = runIn(
      household(R"(, "faults": [ { "operation": "readPropertyList", "raise": "platform" } ])"),
      {"--json", "--trace", "prefs"});
  EXPECT_EQ(outcome.status, ctl::ExitStatus::HostFailure);
  const auto document = documentOf(outcome);
  ASSERT_EQ(document.size(), 2U);
  EXPECT_EQ(document["errors"].size(), 1U);
  ASSERT_EQ(document["calls"].size(), 1U);
  EXPECT_EQ(document["calls"][0]["operation"], "readPropertyList");
}

TEST(HostFailureText, NamesTheServiceOfEveryOperation) {
  const std::runtime_error failure("too late");
  EXPECT_EQ(ctl::hostFailureText(Trace(), failure), "the host failed to answer: too late");
  std::map<std::string, int> operationsOf;
  for (const auto operation : kOperations) {
    Trace trace;
    trace.begin(operation.data());
    const auto text = ctl::hostFailureText(trace, failure);
    EXPECT_THAT(text, EndsWith(", " + std::string(operation) + ")"));
    const auto start = text.find("asked last: ") + 12;
    ++operationsOf[text.substr(start, text.find(',', start) - start)];
  }
  EXPECT_EQ(operationsOf, (std::map<std::string, int>{{"directory", 18},
                                                      {"process", 1},
                                                      {"session service", 2},
                                                      {"login service", 2},
                                                      {"membership service", 3},
                                                      {"parental controls", 1},
                                                      {"preference store", 3},
                                                      {"property lists", 1}}));
}

}  // namespace
}  // namespace gatehall
