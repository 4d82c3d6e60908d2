#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <tuple>
#include <vector>

#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/UserLookup.h"
#include "instrumented/InstrumentedPlatform.h"
#include "switcher/SwitchFlow.h"
#include "tests/switcher/FaultMatrixRules.h"
#include "tests/switcher/FaultMatrixWorld.h"

/// Every call that one run makes of its host, failing in every way, one at a time: what the rules
/// say of it must come out, and nothing else.
namespace gatehall::faultmatrix {
namespace {

struct Outcome {
  Strings switches;  ///< as Person::outcome, and "login screen"
  Strings errors;
  std::string exception;  ///< "", "platform" or "other"
  friend bool operator==(const Outcome&, const Outcome&) = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  out << "switches " << description(outcome.switches) << ", errors " << description(outcome.errors);
  if (!outcome.exception.empty()) out << ", exception of the " << outcome.exception;
  return out;
}

std::string textOf(const RecordingLoginService::Request& request) {
  if (request.operation == "switchToLoginScreen") return "login screen";
  auto text = request.attributes.at("RecordName").array()->front().description();
  const auto password = request.attributes.find(kUserPasswordKey);
  if (password == request.attributes.end()) return text;
  return text + (password->second == Value("") ? " without a password" : " with a password");
}

class FaultMatrix : public ::testing::Test {
 protected:
  FaultMatrix() {
    for (const auto& person : kPeople) mIDs.push_back(std::to_string(person.userID));
    for (const auto& id : mIDs) {
      mWords.push_back("-switchToUserID");
      mWords.push_back(id);
    }
    mWords.push_back("-suspend");
  }
  ~FaultMatrix() override { Platform::install(nullptr); }

  /// A host of which nothing but the world stays from one run to the next.
  void install(std::vector<Fault> faults, std::shared_ptr<Trace> trace) {
    mLoginService = std::make_shared<RecordingLoginService>();
    mLog = std::make_shared<RecordingLog>();
    Platform::install(std::make_shared<InstrumentedPlatform>(
        mWorld, std::move(faults), std::move(trace),
        InstrumentedPlatform::Substitutes{mLoginService, mLog, nullptr}));
  }

  Outcome run(std::vector<Fault> faults = {}, std::shared_ptr<Trace> trace = nullptr) {
    install(std::move(faults), std::move(trace));
    Outcome outcome;
    try {
      runSwitch(mWords);
    } catch (const PlatformException&) {
      outcome.exception = "platform";
    } catch (const InjectedFailure&) {
      outcome.exception = "other";
    }
    for (const auto& each : mLoginService->requests()) outcome.switches.push_back(textOf(each));
    for (const auto& each : mLog->entries()) outcome.errors.push_back(each.text);
    return outcome;
  }

  /// The calls of an unfailing run made step by step, with what each is for.
  std::vector<Site> sites() {
    install({}, mTrace);
    platform().process().effectiveUserID();
    platform().sessions().copyCurrentSession();
    mark(Phase::Caller, "");
    for (const auto& person : kPeople) {
      const auto user = cachedUserForUID(person.userID);
      mark(Phase::Lookup, person.name);
      if (!user) continue;
      const bool allowed = UserAccess::sharedUserAccess()->canUserLogIn(*user);
      mark(Phase::Permission, person.name);
      if (!allowed) continue;
      const bool empty = !user->isGuestUser() && user->authenticate("") == 0;
      auto attributes = *user->attributes();
      if (empty) attributes.emplace(kUserPasswordKey, "");
      platform().loginService().switchToUser(attributes);
      mark(Phase::HandOver, person.name);
    }
    platform().loginService().switchToLoginScreen();
    mark(Phase::Suspend, "");
    for (std::size_t index = 0; index < mSites.size(); ++index) describe(index);
    return mSites;
  }

  std::vector<Call> mCalls;  ///< of sites()

 private:
  /// What was called since the last mark.
  void mark(Phase phase, std::string_view person) {
    mCalls = mTrace->calls();
    for (std::size_t index = mSites.size(); index < mCalls.size(); ++index) {
      mSites.push_back({phase, person, mCalls[index].operation, "", 0});
    }
  }

  void describe(std::size_t index) {
    auto& site = mSites[index];
    site.detail = detailOf(index);
    site.nth = ++mCounts[{site.phase, site.person, site.operation, site.detail}];
  }

  std::string argument(std::size_t index, std::string_view name) const {
    const auto found = mCalls[index].arguments.find(name);
    return found == mCalls[index].arguments.end() ? "" : found->second.description();
  }

  std::string detailOf(std::size_t index) const {
    const auto& operation = mCalls[index].operation;
    if (operation == "defaultSession" || operation == "nodeByType") {
      const auto next = detailOf(index + 1);
      return next.empty() ? mCalls[index + 1].operation : next;
    }
    if (operation == "query" || operation == "queryResults") {
      const auto& value = mCalls[index].arguments.at("values").array()->front();
      return argument(index, "attribute") + " " + nameOf(value.description());
    }
    if (operation == "valuesForAttribute") {
      const auto record = argument(index, "record");
      return (record == mSites[index].person ? "self" : record) + "." +
             std::string(attribute::canonical(argument(index, "attribute")));
    }
    if (operation == "recordType") return argument(index, "record");
    if (operation == "readPropertyList") return argument(index, "path");
    if (operation == "copyApplicationValue") return argument(index, "key");
    return "";
  }

  /// The name of the group with that GUID; any other text as it is.
  static std::string nameOf(const std::string& text) {
    if (text.ends_with("A101")) return "day";
    if (text.ends_with("A102")) return "dusk";
    if (text.ends_with("A103")) return "night";
    return text;
  }

  const std::shared_ptr<World> mWorld = world();
  Strings mIDs;
  std::vector<std::string_view> mWords;
  std::shared_ptr<RecordingLoginService> mLoginService;
  std::shared_ptr<RecordingLog> mLog;
  std::vector<Site> mSites;
  const std::shared_ptr<Trace> mTrace = std::make_shared<Trace>();
  std::map<std::tuple<Phase, std::string_view, std::string, std::string>, int> mCounts;
};

std::string text(const Site& site, Fault::Kind kind) {
  std::string text = "phase ";
  text += static_cast<char>(site.phase);
  text += " of " + std::string(site.person) + ": " + site.operation + " [" + site.detail +
          "] no. " + std::to_string(site.nth);
  return text + (kind == Fault::Kind::Absent              ? " answers nothing"
                 : kind == Fault::Kind::PlatformException ? " raises the platform's exception"
                                                          : " raises another exception");
}

Outcome unfailing() {
  Outcome outcome;
  for (const auto& person : kPeople) {
    if (!person.outcome.empty()) outcome.switches.emplace_back(person.outcome);
  }
  outcome.switches.emplace_back("login screen");
  return outcome;
}

/// What was switched to before the site's person, or before the end.
Outcome endedAt(const Site& site, std::string exception) {
  Outcome outcome;
  outcome.exception = std::move(exception);
  if (site.phase == Phase::Caller) return outcome;
  for (const auto& person : kPeople) {
    if (person.name == site.person) break;
    if (!person.outcome.empty()) outcome.switches.emplace_back(person.outcome);
  }
  return outcome;
}

Outcome expected(const Rule& rule, const Site& site) {
  if (rule.effect == Rule::Escapes) return endedAt(site, "platform");
  Outcome outcome;
  if (!rule.log.empty()) outcome.errors.emplace_back(rule.log);
  if (rule.effect == Rule::RefusesCaller) return outcome;
  const auto who = rule.who.empty() ? site.person : rule.who;
  for (const auto& person : kPeople) {
    const bool concerned = person.name == who;
    if (concerned && rule.effect == Rule::Skips) continue;
    const auto what = concerned && rule.effect == Rule::Hands ? rule.what : person.outcome;
    if (!what.empty()) outcome.switches.emplace_back(what);
  }
  if (rule.effect != Rule::NoLoginScreen) outcome.switches.emplace_back("login screen");
  return outcome;
}

void expectNothingDangerous(const Outcome& outcome) {
  for (const auto& each : outcome.switches) {
    EXPECT_NE(each.substr(0, each.find(' ')), "lou") << "has no service access";
    EXPECT_NE(each.substr(0, each.find(' ')), "ivan") << "has no service access";
    EXPECT_NE(each, "hana") << "is in no list";
    if (each.find(" with") != std::string::npos) {
      EXPECT_TRUE(each == "bob without a password" || each == "gus without a password") << each;
    }
  }
}

TEST_F(FaultMatrix, WithoutAFailureEveryoneIsTreatedAsTheWorldSays) {
  EXPECT_EQ(run(), unfailing());
}

TEST_F(FaultMatrix, ARunIsTheCallerCheckThenLookupPermissionAndHandOverOfEachPerson) {
  const auto steps = sites();
  const auto trace = std::make_shared<Trace>();
  run({}, trace);
  ASSERT_EQ(steps.size(), trace->calls().size());
  EXPECT_EQ(trace->calls(), mCalls);
}

TEST_F(FaultMatrix, EveryFailureOfEveryCallHasTheOutcomeThatItsRuleSays) {
  std::map<std::string, std::uint64_t> calls;
  std::set<const Rule*> used;
  for (const auto& site : sites()) {
    const auto call = ++calls[site.operation];
    for (const auto kind : {Fault::Kind::PlatformException, Fault::Kind::Absent}) {
      SCOPED_TRACE(text(site, kind));
      const auto rule = std::ranges::find_if(
          rules(), [&](const Rule& each) { return matches(each, site, kind); });
      if (rule == rules().end()) {
        ADD_FAILURE() << "no rule";
        continue;
      }
      used.insert(&*rule);
      const auto outcome = run({{site.operation, kind, call, {}}});
      EXPECT_EQ(outcome, expected(*rule, site));
      expectNothingDangerous(outcome);
    }
    const auto kind = Fault::Kind::OtherException;
    SCOPED_TRACE(text(site, kind));
    EXPECT_EQ(run({{site.operation, kind, call, {}}}), endedAt(site, "other"));
    EXPECT_EQ(run(), unfailing()) << "after these failures";
  }
  for (const auto& rule : rules()) {
    EXPECT_TRUE(used.contains(&rule))
        << "no call for the rule " << rule.phases << ' ' << rule.people << ' ' << rule.operation
        << ' ' << rule.detail << ' ' << rule.nth << ' ' << rule.kinds;
  }
}

TEST_F(FaultMatrix, AnOperationThatAlwaysFailsHandsOverNobodyWhoIsRefusedForServiceAccess) {
  std::set<std::string> operations;
  for (const auto& site : sites()) operations.insert(site.operation);
  for (const auto& operation : operations) {
    for (const auto kind :
         {Fault::Kind::PlatformException, Fault::Kind::OtherException, Fault::Kind::Absent}) {
      SCOPED_TRACE(operation);
      for (const auto& each : run({{operation, kind, {}, {}}}).switches) {
        EXPECT_NE(each.substr(0, each.find(' ')), "lou");
        EXPECT_NE(each.substr(0, each.find(' ')), "ivan");
      }
      EXPECT_EQ(run(), unfailing()) << "after the failures";
    }
  }
}

}  // namespace
}  // namespace gatehall::faultmatrix
