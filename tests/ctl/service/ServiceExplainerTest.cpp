#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "ctl/service/ServiceExplainer.h"
#include "tests/Patience.h"
#include "tests/following/standin/ServiceStandIn.h"
#include "tests/linux/Machine.h"
#include "tests/linux/bus/fixture/BusPeer.h"
#include "tests/linux/bus/fixture/PrivateBus.h"

namespace gatehall::ctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kAnnsGUID = "00000000-0000-4000-8000-000000001000";

/// Ann, of whom this run can't know all.
Explained ann() {
  Explained found{.meant = {.operand = "ann"}};
  found.account.name = "ann";
  found.account.userID = 1000;
  found.account.guid = kAnnsGUID;
  found.meant.accounts = {found.account};
  found.verdict = {.allowed = true, .rule = "local login enabled"};
  found.explanation.unknown = {"whether the account is locked"};
  return found;
}

const Dictionary kLocked{
    {"uid", 1000},
    {"found", true},
    {"allowed", false},
    {"rule", "locked"},
    {"ruleText", "gesperrt"},
    {"name", "ann"},
    {"guid", kAnnsGUID},
    {"reason", "the account is locked"},
    {"file", "/etc/shadow"},
    {"line", 7},
    {"key", "DenyList"},
    {"entry", "*"},
    {"chain", Strings{"DenyList", "ann"}},
    {"hours", Dictionary{{"allowedNow", false}, {"until", std::int64_t{1'767'225'600'000'000}}}},
    {"unknown", Strings{"who else"}},
    {"nearest", Strings{}}};

class ServiceExplainerTest : public testing::Test {
 protected:
  HostOptions options() const {
    HostOptions options;
    options.systemBusAddress = mBus.address();
    return options;
  }

  std::optional<ServiceExplainer::Answer> explain(const Explained& found) {
    return mExplainer.explain(found, Json({{"uid", 1000},
                                           {"rule", "local login enabled"},
                                           {"source", "default"},
                                           {"chain", Json::array()},
                                           {"hours", nullptr},
                                           {"others", Json::array()}}));
  }

  /// Whether the service tells it; else what was found stands, with the reason.
  bool isTold(const Explained& found) {
    const auto answer = explain(found);
    EXPECT_TRUE(answer.has_value());
    if (answer && !answer->isTold) {
      EXPECT_EQ(answer->explained.verdict.rule, found.verdict.rule);
      EXPECT_THAT(answer->explained.explanation.unknown.back(),
                  testing::StartsWith("what gatehalld knows: "));
      EXPECT_FALSE(answer->json.contains("askedService"));
    }
    return answer && answer->isTold;
  }

  PrivateBus mBus;
  std::unique_ptr<ServiceStandIn> mService =
      std::make_unique<ServiceStandIn>(mBus.address(), ListedUsers(), 100);
  ServiceExplainer mExplainer{options(), ServiceExplainer::Prompts::No};
};

TEST_F(ServiceExplainerTest, TellsInJsonWhatTheServiceSaysUnderTheKeysThatAreThere) {
  mService->explain({.answers = {{"ann", kLocked}}});
  const auto answer = explain(ann());
  ASSERT_TRUE(answer.has_value());
  EXPECT_EQ(answer->json.dump(),
            R"({"uid":1000,"rule":"locked","source":null,"chain":["DenyList","ann"],)"
            R"("hours":{"allowedNow":false,"until":"2026-01-01T00:00:00Z"},"others":[],)"
            R"("askedService":true})");
}

TEST_F(ServiceExplainerTest, TellsForLinesWhatTheServiceSays) {
  mService->explain({.answers = {{"ann", kLocked}}});
  const auto answer = explain(ann());
  ASSERT_TRUE(answer.has_value());
  const auto& [meant, account, verdict, explanation] = answer->explained;
  EXPECT_EQ(account.name, "ann");
  EXPECT_FALSE(verdict.allowed);
  EXPECT_EQ(verdict.rule, "locked");
  EXPECT_EQ(verdict.reason, "the account is locked");
  EXPECT_EQ(explanation.place.file, "/etc/shadow");
  EXPECT_EQ(explanation.place.line, 7U);
  EXPECT_EQ(explanation.key, "DenyList");
  EXPECT_EQ(explanation.entry, "*");
  EXPECT_THAT(explanation.chain, ElementsAre("DenyList", "ann"));
  ASSERT_TRUE(explanation.hours.has_value());
  EXPECT_FALSE(explanation.hours->areNow);
  EXPECT_EQ(explanation.hours->change, Date(std::chrono::seconds(1'767'225'600)));
  EXPECT_THAT(explanation.unknown, ElementsAre("who else"));
}

TEST_F(ServiceExplainerTest, AsksOnlyWhereMoreCanBeKnown) {
  mService->explain({.answers = {{"ann", kLocked}}});
  auto known = ann();
  known.explanation.unknown.clear();
  EXPECT_FALSE(explain(known).has_value());
  EXPECT_THAT(mService->calls(), IsEmpty());

  auto undecidable = known;
  undecidable.verdict.rule = kUndecidable;
  EXPECT_TRUE(explain(undecidable).has_value());
  auto away = known;
  away.meant.away = {"ldap/office"};
  EXPECT_TRUE(explain(away).has_value());
}

TEST_F(ServiceExplainerTest, AsksByNumberWhereThatIsMeant) {
  mService->explain({.answers = {{"1000", kLocked}}});
  auto byID = ann();
  byID.meant.operand = "1000";
  EXPECT_TRUE(isTold(byID));
  auto byGUID = ann();
  byGUID.meant.operand = kAnnsGUID;
  EXPECT_TRUE(isTold(byGUID));
  byGUID.account = {};
  EXPECT_FALSE(explain(byGUID).has_value());
  EXPECT_THAT(mService->calls(), ElementsAre("ExplainByID", "ExplainByID"));
}

TEST_F(ServiceExplainerTest, BelievesNoAnswerAboutAnotherAccount) {
  auto other = kLocked;
  other.insert_or_assign("guid", "00000000-0000-4000-8000-000000001001");
  mService->explain({.answers = {{"ann", other}}});
  EXPECT_FALSE(isTold(ann()));
  auto withoutGUID = ann();
  withoutGUID.account.guid.clear();
  EXPECT_TRUE(isTold(withoutGUID));
  withoutGUID.account.userID = 1001;
  EXPECT_FALSE(isTold(withoutGUID));
}

TEST_F(ServiceExplainerTest, BelievesNoAnswerWithoutAVerdict) {
  for (const auto* key : {"allowed", "rule"}) {
    auto broken = kLocked;
    broken.insert_or_assign(key, Strings{"yes"});
    mService->explain({.answers = {{"ann", broken}}});
    EXPECT_FALSE(isTold(ann())) << key;
    broken.erase(key);
    mService->explain({.answers = {{"ann", broken}}});
    EXPECT_FALSE(isTold(ann())) << key;
  }
}

constexpr const char* kNeedsPassword =
    "org.freedesktop.DBus.Error.InteractiveAuthorizationRequired";

TEST_F(ServiceExplainerTest, OnRefusalTheVerdictIsTheServicesAndTheNextIsAsked) {
  for (const auto* refusal : {"org.freedesktop.DBus.Error.AccessDenied", kNeedsPassword}) {
    mService->explain({.answers = {{"ann", kLocked}}, .passwordNeeded = refusal});
    const auto answer = explain(ann());
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->isTold);
    EXPECT_FALSE(answer->explained.verdict.allowed);
    EXPECT_EQ(answer->explained.verdict.rule, "locked");
    EXPECT_THAT(answer->explained.explanation.unknown,
                ElementsAre("whether the account is locked",
                            "what gatehalld knows: it tells administrators the rest"));
    EXPECT_EQ(answer->json.at("rule"), "locked");
    EXPECT_TRUE(answer->json.at("source").is_null());
    EXPECT_EQ(answer->json.at("askedService"), true);
  }
  EXPECT_THAT(mService->calls(), ElementsAre("Explain", "CanLogIn", "Explain", "CanLogIn"));
}

TEST_F(ServiceExplainerTest, AnErrorAboutOneLeavesTheNextToBeAsked) {
  for (const auto* error : {"Timeout", "LimitsExceeded", "InvalidArgs", "Failed"}) {
    mService->explain({.error = std::string("org.freedesktop.DBus.Error.") + error});
    EXPECT_FALSE(isTold(ann())) << error;
    mService->explain({.answers = {{"ann", kLocked}}});
    EXPECT_TRUE(isTold(ann())) << error;
  }
}

TEST_F(ServiceExplainerTest, AtATerminalAPasswordMayBeAskedFor) {
  mService->explain({.answers = {{"ann", kLocked}}, .passwordNeeded = kNeedsPassword});
  ServiceExplainer explainer(options(), ServiceExplainer::Prompts::OnTerminal);
  EXPECT_TRUE(explainer.explain(ann(), Json::object())->isTold);
  EXPECT_THAT(mService->calls(), ElementsAre("Explain", "CanLogIn", "Explain"));
}

TEST_F(ServiceExplainerTest, WhoGaveNoPasswordIsAskedOnce) {
  mService->explain({.answers = {{"ann", kLocked}},
                     .error = "org.freedesktop.DBus.Error.AccessDenied",
                     .passwordNeeded = kNeedsPassword});
  ServiceExplainer explainer(options(), ServiceExplainer::Prompts::OnTerminal);
  EXPECT_TRUE(explainer.explain(ann(), Json::object())->isTold);
  EXPECT_TRUE(explainer.explain(ann(), Json::object())->isTold);
  EXPECT_THAT(mService->calls(),
              ElementsAre("Explain", "CanLogIn", "Explain", "Explain", "CanLogIn"));
}

TEST_F(ServiceExplainerTest, AServiceThatIsNotThereIsAskedOnce) {
  mService.reset();
  EXPECT_FALSE(isTold(ann()));
  mService = std::make_unique<ServiceStandIn>(mBus.address(), ListedUsers(), 100);
  mService->explain({.answers = {{"ann", kLocked}}});
  EXPECT_FALSE(isTold(ann()));
  EXPECT_THAT(mService->calls(), IsEmpty());
}

TEST_F(ServiceExplainerTest, WithoutABusWhatWasFoundStands) {
  mService.reset();
  mBus.end();
  EXPECT_FALSE(isTold(ann()));
  mBus.begin();
}

/// A program in the agent's place that does what the script says.
TEST(TerminalAgent, LastsAsLongAsTheObjectAndIsKnownBeforeThat) {
  const Machine machine;
  const auto program = machine.path("/agent");
  const auto noted = machine.path("/noted");
  std::ofstream(program) << "#!/bin/sh\ntrap 'echo over >>" << noted << "; exit' TERM\n"
                         << "echo \"$@\" >" << noted << "\nexec 3>&-\n"
                         << "while :; do sleep 0.01; done\n";
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  const auto read = [&noted] {
    std::ifstream file(noted);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  {
    const TerminalAgent agent(program);
    EXPECT_EQ(read(), "--notify-fd=3 --fallback\n");
  }
  EXPECT_EQ(read(), "--notify-fd=3 --fallback\nover\n");
}

TEST(TerminalAgent, WithoutTheProgramThereIsNone) { TerminalAgent("/nonexistent/agent"); }

}  // namespace
}  // namespace gatehall::ctl
