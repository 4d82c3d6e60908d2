#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "instrumented/InstrumentedPlatform.h"
#include "tests/instrumented/SmallHost.h"
#include "world/WorldPreferences.h"
#include "world/WorldTextSystem.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::Field;

/// Where a fault on the operation hits.
bool fails(const std::shared_ptr<SmallHost>& host, std::string operation, Fault::Where where,
           const std::function<void(Platform&)>& ask) {
  InstrumentedPlatform platform(
      host, {{std::move(operation), Fault::Kind::OtherException, {}, std::move(where)}});
  try {
    ask(platform);
    return false;
  } catch (const InjectedFailure&) {
    return true;
  }
}

Fault::Where node(std::string name) { return {std::move(name), {}, {}, {}}; }
Fault::Where attribute(std::string kind) { return {{}, std::move(kind), {}, {}}; }
Fault::Where value(std::string text) { return {{}, {}, std::move(text), {}}; }
Fault::Where user(std::string name) { return {{}, {}, {}, std::move(name)}; }

class InstrumentedPlatformTest : public testing::Test {
 protected:
  std::shared_ptr<SmallHost> mHost = std::make_shared<SmallHost>();
  std::shared_ptr<Trace> mTrace = std::make_shared<Trace>();
};

TEST_F(InstrumentedPlatformTest, RecordsOperationsInTheOrderAsked) {
  InstrumentedPlatform platform(mHost, {}, mTrace);
  platform.process().effectiveUserID();
  bob(platform)->recordType();
  EXPECT_THAT(mTrace->calls(), ElementsAre(Field(&Call::operation, "effectiveUserID"),
                                           Field(&Call::operation, "defaultSession"),
                                           Field(&Call::operation, "nodeByName"),
                                           Field(&Call::operation, "recordByTypeAndName"),
                                           Field(&Call::operation, "recordType")));
}

TEST_F(InstrumentedPlatformTest, RecordsWhatIsAskedOfAQuerysRecords) {
  InstrumentedPlatform platform(mHost, {}, mTrace);
  const auto query =
      localNode(platform)->query({{"Users"}, "UniqueID", MatchType::Contains, {"10"}, {}, 0});
  query->results(true)->front()->valuesForAttribute("Picture");
  EXPECT_EQ(mTrace->calls().back(),
            (Call{"valuesForAttribute", {{"record", "bob"}, {"attribute", "Picture"}}}));
}

TEST_F(InstrumentedPlatformTest, NeverRecordsPasswords) {
  InstrumentedPlatform platform(mHost, {}, mTrace);
  const auto record = bob(platform);
  DirectoryError error;
  record->verifyPassword("s3cret", error);
  record->changePassword("s3cret", "s3cret2", error);
  record->setValue("s3cret", "Password");
  record->setValue("s3cret", "lxAttrTypeStandard:Password");
  const auto query =
      localNode(platform)->query({{"Users"}, "Password", MatchType::EqualTo, {"s3cret"}, {}, 0});
  query->results(false);
  platform.loginService().switchToUser({{"UserPasswordKey", "s3cret"}});
  for (const Call& each : mTrace->calls()) {
    EXPECT_THAT(description(each.arguments), testing::Not(testing::HasSubstr("s3cret")))
        << each.operation;
  }
  for (const auto& each : mHost->mLoginService.requests()) {
    EXPECT_THAT(description(each.attributes), testing::Not(testing::HasSubstr("s3cret")));
  }
}

TEST_F(InstrumentedPlatformTest, NeverMatchesAFaultByPassword) {
  EXPECT_FALSE(fails(mHost, "setValue", value("s3cret"),
                     [](Platform& host) { bob(host)->setValue("s3cret", "Password"); }));
  EXPECT_FALSE(fails(mHost, "verifyPassword", value("sesame"), [](Platform& host) {
    DirectoryError error;
    bob(host)->verifyPassword("sesame", error);
  }));
}

TEST_F(InstrumentedPlatformTest, HitsARecordByItsNodeItsNameAndItsUserID) {
  const auto ask = [](Platform& host) { bob(host)->synchronize(); };
  EXPECT_TRUE(fails(mHost, "synchronize", node("local"), ask));
  EXPECT_FALSE(fails(mHost, "synchronize", node("unix"), ask));
  EXPECT_TRUE(fails(mHost, "synchronize", user("bob"), ask));
  EXPECT_TRUE(fails(mHost, "synchronize", user("1002"), ask));
  EXPECT_FALSE(fails(mHost, "synchronize", user("bobby"), ask));
  EXPECT_FALSE(fails(mHost, "synchronize", user("1001"), ask));
}

TEST_F(InstrumentedPlatformTest, HitsARecordsAttribute) {
  const auto ask = [](Platform& host) { bob(host)->valuesForAttribute("Picture"); };
  EXPECT_TRUE(fails(mHost, "valuesForAttribute", attribute("Picture"), ask));
  EXPECT_FALSE(fails(mHost, "valuesForAttribute", attribute("RecordName"), ask));
  const auto details = [](Platform& host) { bob(host)->recordDetails({"RecordName", "UniqueID"}); };
  EXPECT_TRUE(fails(mHost, "recordDetails", attribute("UniqueID"), details));
  EXPECT_FALSE(fails(mHost, "recordDetails", attribute("Picture"), details));
}

TEST_F(InstrumentedPlatformTest, HitsANodeByName) {
  const auto byName = [](Platform& host) {
    host.directory().defaultSession()->nodeByName("ldap/ldap.example.org");
  };
  EXPECT_TRUE(fails(mHost, "nodeByName", node("ldap/ldap.example.org"), byName));
  EXPECT_FALSE(fails(mHost, "nodeByName", node("local"), byName));
  const auto opened = [](Platform& host) {
    host.directory().defaultSession()->nodeByType(NodeType::Search)->subnodeNames();
  };
  EXPECT_TRUE(fails(mHost, "subnodeNames", node("local"), opened));
  EXPECT_FALSE(fails(mHost, "subnodeNames", node("search"), opened));
}

TEST_F(InstrumentedPlatformTest, HitsTheOpeningOfANodeByType) {
  const auto ask = [](Platform& host) {
    host.directory().defaultSession()->nodeByType(NodeType::Local);
  };
  EXPECT_TRUE(fails(mHost, "nodeByType", node("local"), ask));
  EXPECT_FALSE(fails(mHost, "nodeByType", node("search"), ask));
}

TEST_F(InstrumentedPlatformTest, HitsAQueryAndItsResultsByWhatTheyLookFor) {
  const auto ask = [](Platform& host) {
    localNode(host)
        ->query({{"Users"}, "UniqueID", MatchType::EqualTo, {"1002", "1003"}, {"Picture"}, 0})
        ->results(true);
  };
  for (const auto* operation : {"query", "queryResults"}) {
    EXPECT_TRUE(fails(mHost, operation, node("local"), ask));
    EXPECT_FALSE(fails(mHost, operation, node("unix"), ask));
    EXPECT_TRUE(fails(mHost, operation, attribute("UniqueID"), ask));
    EXPECT_FALSE(fails(mHost, operation, attribute("Picture"), ask));
    EXPECT_TRUE(fails(mHost, operation, value("1003"), ask));
    EXPECT_FALSE(fails(mHost, operation, value("1004"), ask));
    EXPECT_TRUE(fails(mHost, operation, user("1002"), ask));
    EXPECT_FALSE(fails(mHost, operation, user("1004"), ask));
  }
}

TEST_F(InstrumentedPlatformTest, HitsALookupByName) {
  const auto ask = [](Platform& host) { bob(host); };
  EXPECT_TRUE(fails(mHost, "recordByTypeAndName", value("bob"), ask));
  EXPECT_TRUE(fails(mHost, "recordByTypeAndName", user("bob"), ask));
  EXPECT_TRUE(fails(mHost, "recordByTypeAndName", node("local"), ask));
  EXPECT_FALSE(fails(mHost, "recordByTypeAndName", value("ann"), ask));
}

TEST_F(InstrumentedPlatformTest, HitsAMembershipTestByEitherRecord) {
  const auto ask = [](Platform& host) { admin(host)->isMember(*bob(host)); };
  EXPECT_TRUE(fails(mHost, "isMember", user("bob"), ask));
  EXPECT_TRUE(fails(mHost, "isMember", user("admin"), ask));
  EXPECT_FALSE(fails(mHost, "isMember", user("ann"), ask));
}

TEST_F(InstrumentedPlatformTest, HitsASwitchByNameAndUserID) {
  const auto ask = [](Platform& host) {
    host.loginService().switchToUser({{"RecordName", Strings{"bob"}}, {"UniqueID", "1002"}});
  };
  EXPECT_TRUE(fails(mHost, "switchToUser", user("bob"), ask));
  EXPECT_TRUE(fails(mHost, "switchToUser", user("1002"), ask));
  EXPECT_FALSE(fails(mHost, "switchToUser", user("ann"), ask));
}

TEST_F(InstrumentedPlatformTest, HitsAUserIDsServices) {
  const auto login = [](Platform& host) {
    std::int32_t result = 0;
    std::optional<Date> curfew;
    host.parentalControls().mayLogInNow(1002, result, curfew);
  };
  EXPECT_TRUE(fails(mHost, "mayLogInNow", user("1002"), login));
  EXPECT_FALSE(fails(mHost, "mayLogInNow", user("1001"), login));
  const auto identify = [](Platform& host) {
    Identifier identifier{};
    host.membership().userIDToIdentifier(1002, identifier);
  };
  EXPECT_TRUE(fails(mHost, "userIDToIdentifier", user("1002"), identify));
  EXPECT_FALSE(fails(mHost, "userIDToIdentifier", user("1001"), identify));
}

TEST_F(InstrumentedPlatformTest, HitsAPreferenceByKeyAndByDomain) {
  const auto ask = [](Platform& host) {
    bool exists = false;
    host.preferences().applicationBoolean("Hide", "com.orvane.gatehall", exists);
  };
  EXPECT_TRUE(fails(mHost, "applicationBoolean", value("Hide"), ask));
  EXPECT_TRUE(fails(mHost, "applicationBoolean", value("com.orvane.gatehall"), ask));
  EXPECT_FALSE(fails(mHost, "applicationBoolean", value("Show"), ask));
}

TEST_F(InstrumentedPlatformTest, PassesTheHostsOwnRecordToAMembershipTestThroughTwoLayers) {
  const auto inner = std::make_shared<InstrumentedPlatform>(mHost);
  InstrumentedPlatform outer(inner, {}, mTrace);
  EXPECT_TRUE(admin(outer)->isMember(*bob(outer)));
  EXPECT_TRUE(admin(outer)->isMember(*mHost->mBob));
}

TEST_F(InstrumentedPlatformTest, AnswersThatARecordDoesNotExist) {
  InstrumentedPlatform platform(mHost);
  EXPECT_EQ(localNode(platform)->recordByTypeAndName("Users", "zoe", {}), nullptr);
  EXPECT_EQ(platform.directory().defaultSession()->nodeByName("unix"), nullptr);
}

TEST_F(InstrumentedPlatformTest, AsksTheHostNothingOfItsOwnWithoutATraceOrAFault) {
  InstrumentedPlatform platform(mHost);
  bob(platform)->synchronize();
  EXPECT_EQ(mHost->mBob->mReads, 0);
}

TEST_F(InstrumentedPlatformTest, RecordsACallOfARecordThatCannotSayItsName) {
  InstrumentedPlatform platform(mHost, {}, mTrace);
  mHost->mBob->mIsGone = true;
  EXPECT_TRUE(bob(platform)->synchronize());
  EXPECT_EQ(mTrace->calls().back(), (Call{"synchronize", {}}));
}

TEST_F(InstrumentedPlatformTest, RefusesAFaultOfAnUnknownOperation) {
  EXPECT_THROW(InstrumentedPlatform(mHost, {{"localNod", Fault::Kind::Absent, {}, {}}}),
               std::invalid_argument);
}

TEST_F(InstrumentedPlatformTest, PutsSubstitutesInTheHostsPlace) {
  const auto login = std::make_shared<RecordingLoginService>();
  const auto log = std::make_shared<RecordingLog>();
  const auto text = std::make_shared<WorldTextSystem>();
  InstrumentedPlatform platform(mHost, {}, mTrace, {login, log, text});
  EXPECT_EQ(&platform.text(), text.get());
  EXPECT_EQ(platform.loginService().switchToLoginScreen(), 0);
  platform.log().error("heard");
  EXPECT_THAT(login->requests(),
              ElementsAre(RecordingLoginService::Request{"switchToLoginScreen", {}}));
  EXPECT_THAT(log->entries(),
              ElementsAre(RecordingLog::Entry{RecordingLog::Level::Error, "heard"}));
  EXPECT_TRUE(mHost->mLoginService.requests().empty());
  EXPECT_TRUE(mHost->mLog.entries().empty());
  EXPECT_THAT(mTrace->calls(), ElementsAre(Call{"switchToLoginScreen", {}}));
}

TEST_F(InstrumentedPlatformTest, ReadsSettingsWhereSubstitutesHaveThem) {
  const auto preferences = std::make_shared<WorldPreferences>();
  preferences->setValue(WorldPreferences::Scope::System, "domain", "key", true);
  const auto lists = std::make_shared<WorldPropertyLists>();
  lists->setFile("/path", "content");
  InstrumentedPlatform platform(mHost, {{"readPropertyList", Fault::Kind::Absent, 2, {}}}, mTrace,
                                {.preferences = preferences, .propertyLists = lists});
  bool exists = false;
  EXPECT_TRUE(platform.preferences().applicationBoolean("key", "domain", exists));
  EXPECT_EQ(platform.preferences().copyApplicationValue("key", "domain"), Value(true));
  platform.preferences().synchronizePreferences("domain");
  EXPECT_EQ(platform.propertyLists().readPropertyList("/path"), Value("content"));
  EXPECT_FALSE(platform.propertyLists().readPropertyList("/path")) << "the second one fails";
  EXPECT_EQ(mTrace->calls().size(), 5U);
}

TEST_F(InstrumentedPlatformTest, FailsASubstitutedLoginServiceToo) {
  const auto login = std::make_shared<RecordingLoginService>();
  InstrumentedPlatform platform(mHost, {{"switchToUser", Fault::Kind::Absent, {}, {}}}, nullptr,
                                {login, nullptr, nullptr});
  EXPECT_NE(platform.loginService().switchToUser({}), 0);
  EXPECT_TRUE(login->requests().empty());
}

TEST_F(InstrumentedPlatformTest, HandsOutTheHostsOtherServices) {
  InstrumentedPlatform platform(mHost);
  EXPECT_EQ(&platform.clock(), &mHost->clock());
  EXPECT_EQ(&platform.log(), &mHost->log());
  EXPECT_THROW(platform.notificationCenter(), PlatformException);
  EXPECT_THROW(platform.distributedNotificationCenter(), PlatformException);
  EXPECT_THROW(platform.systemNotifications(), PlatformException);
  EXPECT_THROW(platform.collation(), PlatformException);
  EXPECT_THROW(platform.runLoop(), PlatformException);
  EXPECT_THROW(platform.text(), PlatformException);
  EXPECT_THROW(platform.markup(), PlatformException);
}

TEST_F(InstrumentedPlatformTest, LacksParentalControlsWhenTheHostDoes) {
  mHost->mHasParentalControls = false;
  InstrumentedPlatform platform(mHost);
  EXPECT_THROW(platform.parentalControls(), PlatformException);
}

TEST_F(InstrumentedPlatformTest, AsksForTheHostsServicesNoEarlierThanNeeded) {
  struct UnableHost : SmallHost {
    DirectoryService& directory() override { throw PlatformException("No directory."); }
    SessionService& sessions() override { throw PlatformException("No sessions."); }
  };
  InstrumentedPlatform platform(std::make_shared<UnableHost>(),
                                {{"copyCurrentSession", Fault::Kind::Absent, {}, {}}});
  EXPECT_NO_THROW(platform.directory());
  EXPECT_THROW(platform.directory().defaultSession(), PlatformException);
  EXPECT_EQ(platform.sessions().copyCurrentSession(), std::nullopt);
  EXPECT_THROW(platform.sessions().copySessionList(), PlatformException);
}

TEST_F(InstrumentedPlatformTest, LetsRecordsOutliveIt) {
  auto platform = std::make_unique<InstrumentedPlatform>(mHost, std::vector<Fault>{}, mTrace);
  const auto record = bob(*platform);
  platform.reset();
  EXPECT_EQ(record->recordType(), "Users");
  EXPECT_EQ(mTrace->calls().back().operation, "recordType");
}

TEST_F(InstrumentedPlatformTest, ServesTwoThreadsAtOnce) {
  InstrumentedPlatform platform(
      mHost, {{"valuesForAttribute", Fault::Kind::Absent, 100, user("bob")}}, mTrace);
  const auto record = bob(platform);
  std::atomic<int> missing = 0;
  const auto ask = [&] {
    for (int i = 0; i < 100; ++i) {
      if (!record->valuesForAttribute("UserShell")) ++missing;
    }
  };
  {
    const std::jthread other(ask);
    ask();
  }
  EXPECT_EQ(missing, 1);
  EXPECT_EQ(mTrace->calls().size(), 203U);
}

}  // namespace
}  // namespace gatehall
