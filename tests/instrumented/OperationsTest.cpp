#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

#include "instrumented/InstrumentedPlatform.h"
#include "tests/instrumented/SmallHost.h"

namespace gatehall {
namespace {

/// One operation: how to ask for it, what is recorded, and its answers as text.
struct Operation {
  std::string name;
  std::function<std::string(SmallHost&, Platform&)> ask;
  Dictionary arguments;
  std::string answer;
  std::string absent;
};

std::string text(bool flag) { return flag ? "yes" : "no"; }
std::string text(const std::string& answer) { return answer; }
std::string text(const std::optional<std::string>& answer) { return answer.value_or("nothing"); }
std::string text(const std::optional<Strings>& answer) {
  return answer ? description(*answer) : "nothing";
}
std::string text(const std::optional<Dictionary>& answer) {
  return answer ? description(*answer) : "nothing";
}
std::string text(const std::optional<Value>& answer) {
  return answer ? answer->description() : "nothing";
}
std::string present(const auto& answer) { return answer ? "something" : "nothing"; }

std::shared_ptr<DirectoryQuery> namedBob(Platform& host) {
  return localNode(host)->query(
      {{"Users"}, "RecordName", MatchType::EqualToIgnoringCase, {"bob"}, {"UniqueID"}, 7});
}

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = {
      {"defaultSession",
       [](SmallHost&, Platform& host) { return present(host.directory().defaultSession()); },
       {},
       "something",
       "nothing"},
      {"nodeByType",
       [](SmallHost&, Platform& host) {
         return present(host.directory().defaultSession()->nodeByType(NodeType::Search));
       },
       {{"type", "search"}},
       "something",
       "nothing"},
      {"nodeByName",
       [](SmallHost&, Platform& host) {
         return present(host.directory().defaultSession()->nodeByName("local"));
       },
       {{"name", "local"}},
       "something",
       "nothing"},
      {"nodeName",
       [](SmallHost&, Platform& host) { return text(localNode(host)->nodeName()); },
       {{"node", "local"}},
       "local",
       "nothing"},
      {"subnodeNames",
       [](SmallHost&, Platform& host) { return text(localNode(host)->subnodeNames()); },
       {{"node", "local"}},
       "(local)",
       "nothing"},
      {"unreachableSubnodeNames",
       [](SmallHost&, Platform& host) { return text(localNode(host)->unreachableSubnodeNames()); },
       {{"node", "local"}},
       "()",
       "nothing"},
      {"recordByTypeAndName",
       [](SmallHost&, Platform& host) {
         return present(localNode(host)->recordByTypeAndName("Users", "bob", {"UniqueID"}));
       },
       {{"node", "local"}, {"type", "Users"}, {"name", "bob"}, {"attributes", Strings{"UniqueID"}}},
       "something",
       "nothing"},
      {"query",
       [](SmallHost&, Platform& host) { return present(namedBob(host)); },
       {{"node", "local"},
        {"recordTypes", Strings{"Users"}},
        {"attribute", "RecordName"},
        {"match", "equal to ignoring case"},
        {"values", Strings{"bob"}},
        {"returning", Strings{"UniqueID"}},
        {"maximumResults", 7}},
       "something",
       "nothing"},
      {"queryResults",
       [](SmallHost&, Platform& host) { return present(namedBob(host)->results(true)); },
       {{"node", "local"},
        {"attribute", "RecordName"},
        {"values", Strings{"bob"}},
        {"allowPartial", true}},
       "something",
       "nothing"},
      {"recordType",
       [](SmallHost&, Platform& host) { return text(bob(host)->recordType()); },
       {{"record", "bob"}},
       "Users",
       ""},
      {"valuesForAttribute",
       [](SmallHost&, Platform& host) { return text(bob(host)->valuesForAttribute("UserShell")); },
       {{"record", "bob"}, {"attribute", "UserShell"}},
       "(/bin/sh)",
       "nothing"},
      {"recordDetails",
       [](SmallHost&, Platform& host) { return text(bob(host)->recordDetails({"UserShell"})); },
       {{"record", "bob"}, {"attributes", Strings{"UserShell"}}},
       "{UserShell = (/bin/sh); }",
       "nothing"},
      {"setValue",
       [](SmallHost& small, Platform& host) {
         const bool done = bob(host)->setValue("/bin/zsh", "UserShell");
         return text(done) + " " + text(small.mBob->valuesForAttribute("UserShell"));
       },
       {{"record", "bob"}, {"attribute", "UserShell"}, {"value", "/bin/zsh"}},
       "yes (/bin/zsh)",
       "no (/bin/sh)"},
      {"verifyPassword",
       [](SmallHost&, Platform& host) {
         DirectoryError error;
         const bool right = bob(host)->verifyPassword("sesame", error);
         return text(right) + " " + text(error.domain) + " " + std::to_string(error.code);
       },
       {{"record", "bob"}},
       "yes nothing 0",
       "no nothing 0"},
      {"changePassword",
       [](SmallHost& small, Platform& host) {
         DirectoryError error;
         const bool done = bob(host)->changePassword("sesame", "open", error);
         return text(done) + " " + text(small.mBob->verifyPassword("open", error));
       },
       {{"record", "bob"}},
       "yes yes",
       "no no"},
      {"isMember",
       [](SmallHost&, Platform& host) { return text(admin(host)->isMember(*bob(host))); },
       {{"group", "admin"}, {"member", "bob"}},
       "yes",
       "no"},
      {"passwordPolicy",
       [](SmallHost&, Platform& host) { return text(bob(host)->passwordPolicy()); },
       {{"record", "bob"}},
       "{maxFailedLoginAttempts = 3; }",
       "nothing"},
      {"synchronize",
       [](SmallHost&, Platform& host) { return text(bob(host)->synchronize()); },
       {{"record", "bob"}},
       "yes",
       "no"},
      {"effectiveUserID",
       [](SmallHost&, Platform& host) { return std::to_string(host.process().effectiveUserID()); },
       {},
       "1000",
       "4294967294"},
      {"copyCurrentSession",
       [](SmallHost&, Platform& host) { return text(host.sessions().copyCurrentSession()); },
       {},
       "{id = 1; }",
       "nothing"},
      {"copySessionList",
       [](SmallHost&, Platform& host) { return present(host.sessions().copySessionList()); },
       {},
       "something",
       "nothing"},
      {"switchToLoginScreen",
       [](SmallHost& small, Platform& host) {
         const auto status = host.loginService().switchToLoginScreen();
         return std::to_string(status) + " after " +
                std::to_string(small.mLoginService.requests().size());
       },
       {},
       "0 after 1",
       "1 after 0"},
      {"switchToUser",
       [](SmallHost& small, Platform& host) {
         const auto status = host.loginService().switchToUser(
             {{"RecordName", Strings{"bob"}}, {kUserPasswordKey.data(), ""}});
         return std::to_string(status) + " after " +
                std::to_string(small.mLoginService.requests().size());
       },
       {{"user", "bob"}, {"UserPasswordKey", true}},
       "0 after 1",
       "1 after 0"},
      {"guidToIdentifier",
       [](SmallHost&, Platform& host) {
         Identifier identifier{};
         return std::to_string(host.membership().guidToIdentifier("6C6B2F1E", identifier));
       },
       {{"guid", "6C6B2F1E"}},
       "0",
       "1"},
      {"userIDToIdentifier",
       [](SmallHost&, Platform& host) {
         Identifier identifier{};
         return std::to_string(host.membership().userIDToIdentifier(4294967295, identifier));
       },
       {{"userID", 4294967295}},
       "0",
       "1"},
      {"checkServiceMembership",
       [](SmallHost&, Platform& host) {
         Identifier identifier{};
         identifier.fill(0xA0);
         bool isMember = false;
         return std::to_string(
             host.membership().checkServiceMembership(identifier, "gatehall", isMember));
       },
       {{"service", "gatehall"}, {"identifier", "a0a0a0a0a0a0a0a0a0a0a0a0a0a0a0a0"}},
       "0",
       "1"},
      {"mayLogInNow",
       [](SmallHost&, Platform& host) {
         std::int32_t result = 0;
         std::optional<Date> nextCurfew;
         const bool allowed = host.parentalControls().mayLogInNow(1002, result, nextCurfew);
         return text(allowed) + " " + std::to_string(result) + " " + present(nextCurfew);
       },
       {{"userID", 1002}},
       "no 3 something",
       "yes 0 nothing"},
      {"copyApplicationValue",
       [](SmallHost&, Platform& host) {
         return text(host.preferences().copyApplicationValue("Hide", "com.orvane.gatehall"));
       },
       {{"key", "Hide"}, {"domain", "com.orvane.gatehall"}},
       "stored",
       "nothing"},
      {"applicationBoolean",
       [](SmallHost&, Platform& host) {
         bool exists = true;
         const bool flag =
             host.preferences().applicationBoolean("Hide", "com.orvane.gatehall", exists);
         return text(flag) + " " + text(exists);
       },
       {{"key", "Hide"}, {"domain", "com.orvane.gatehall"}},
       "yes yes",
       "no no"},
      {"synchronizePreferences",
       [](SmallHost& small, Platform& host) {
         host.preferences().synchronizePreferences("com.orvane.gatehall");
         return std::to_string(small.mPreferences.mSynchronized);
       },
       {{"domain", "com.orvane.gatehall"}},
       "1",
       "0"},
      {"readPropertyList",
       [](SmallHost&, Platform& host) {
         return text(host.propertyLists().readPropertyList("/etc/managed.plist"));
       },
       {{"path", "/etc/managed.plist"}},
       "listed",
       "nothing"},
  };
  return all;
}

class Operations : public testing::TestWithParam<Operation> {
 protected:
  std::string ask(std::vector<Fault> faults) {
    InstrumentedPlatform platform(mHost, std::move(faults), mTrace);
    return GetParam().ask(*mHost, platform);
  }

  void expectLastCallRecorded() {
    ASSERT_FALSE(mTrace->calls().empty());
    const Call call = mTrace->calls().back();
    EXPECT_EQ(call.operation, GetParam().name);
    EXPECT_EQ(description(call.arguments), description(GetParam().arguments));
    EXPECT_EQ(call.arguments, GetParam().arguments);
  }

  std::shared_ptr<SmallHost> mHost = std::make_shared<SmallHost>();
  std::shared_ptr<Trace> mTrace = std::make_shared<Trace>();
};

TEST_P(Operations, AnswersAsTheHostDoesAndIsRecorded) {
  EXPECT_EQ(ask({}), GetParam().answer);
  expectLastCallRecorded();
}

TEST_P(Operations, AnswersAsTheHostDoesWithoutATrace) {
  InstrumentedPlatform platform(mHost);
  EXPECT_EQ(GetParam().ask(*mHost, platform), GetParam().answer);
}

TEST_P(Operations, RaisesThePlatformsExceptionAndIsRecorded) {
  EXPECT_THROW(ask({{GetParam().name, Fault::Kind::PlatformException, {}, {}}}), PlatformException);
  expectLastCallRecorded();
}

TEST_P(Operations, RaisesSomethingElseAndIsRecorded) {
  EXPECT_THROW(ask({{GetParam().name, Fault::Kind::OtherException, {}, {}}}), InjectedFailure);
  expectLastCallRecorded();
}

TEST_P(Operations, AnswersNothingAndIsRecorded) {
  EXPECT_EQ(ask({{GetParam().name, Fault::Kind::Absent, {}, {}}}), GetParam().absent);
  expectLastCallRecorded();
}

INSTANTIATE_TEST_SUITE_P(All, Operations, testing::ValuesIn(operations()),
                         [](const auto& test) { return test.param.name; });

TEST(OperationsTable, HasEveryKnownOperation) {
  std::set<std::string_view> tested;
  for (const auto& each : operations()) tested.insert(each.name);
  EXPECT_THAT(tested, testing::UnorderedElementsAreArray(kOperations));
}

TEST(InjectedFailure, IsNotThePlatformsException) {
  EXPECT_FALSE((std::is_base_of_v<PlatformException, InjectedFailure>));
}

}  // namespace
}  // namespace gatehall
