#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/NotificationNames.h"
#include "world/file/WorldFile.h"
#include "world/script/Script.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kScene = R"({
  "directory": {
    "localNode": "local",
    "searchNode": { "name": "search", "covers": ["local", "unix", "ldap"] },
    "nodes": [
      { "name": "local", "records": [
        { "type": "Users", "attributes": { "RecordName": ["bob", "bobby"], "UniqueID": 1001,
            "FullName": "Bob Ray", "GUID": "B0B", "AuthenticationAuthority": ";ShadowHash;" } },
        { "type": "Groups", "attributes": { "RecordName": "admin", "GroupMembership": ["ann"] } } ] },
      { "name": "ldap", "records": [
        { "type": "Users", "attributes": { "RecordName": "dana", "UniqueID": 2001 } },
        { "type": "Groups", "attributes": { "RecordName": "staff" } } ] } ] },
  "sessions": { "current": 1, "list": [ { "id": 1, "userID": 1001, "userName": "bob" },
                                        { "id": 2, "userID": 2001, "loginDone": false } ] },
  "preferences": { "d": { "system": { "A": 1, "B": 2 } } }
})";

/// A world in which everything that is posted is written down.
class WorldScript : public testing::Test {
 protected:
  WorldScript() {
    for (const auto name :
         {kRefreshUserListNotification, kUserWasAddedNotification, kUserWasRemovedNotification,
          kUserWasEnabledNotification, kUserWasDisabledNotification,
          kFullUserNameDidChangeNotification, kSessionUserChangedNotification,
          kKinwatchLoginStatusChangedNotification, std::string_view("x")}) {
      mWorld->distributedNotificationCenter().addObserver(this, name, noting("distributed"));
    }
    for (const auto name : {kCurrentLocaleDidChangeNotification, std::string_view("x")}) {
      mWorld->notificationCenter().addObserver(this, name, noting("process"));
    }
    for (const auto name : {kConsoleSessionChangedNotification, kLocalGroupsChangedNotification,
                            std::string_view("x")}) {
      mWorld->runLoop().addSource(
          mWorld->systemNotifications().registerName(
              name, [this, name] { mPosted.push_back("system " + std::string(name)); }),
          RunLoopMode::Default);
    }
  }

  /// Lets the steps happen; answers what was posted.
  Strings play(std::string_view steps) {
    mPosted.clear();
    for (const auto& event : readScript({"s.json", steps})) {
      mWorld->runLoop().advance(event.after);
      if (event.happen) event.happen(*mWorld);
    }
    mWorld->runLoop().pump();
    return mPosted;
  }

  std::shared_ptr<WorldRecord> local(std::string_view type, std::string_view name) {
    return mWorld->directory().node("local")->record(type, name);
  }

  const std::shared_ptr<World> mWorld = worldFromText(kScene, "w.json");

 private:
  NotificationCenter::Handler noting(std::string center) {
    return [this, center](const Notification& notification) {
      mPosted.push_back(center + " " + notification.name);
      const auto info = notification.userInfo.value_or(Dictionary());
      for (const auto& [key, value] : info) {
        mPosted.back() += " " + key + "=" + value.description();
      }
    };
  }

  Strings mPosted;
};

struct Posting {
  std::string_view step;
  Strings posted;
};

TEST_F(WorldScript, PostsWhatAHostPosts) {
  const Posting postings[] = {
      {R"("addUser": { "attributes": { "RecordName": "zoe" } })",
       {"distributed com.orvane.UserWasAddedNotification"}},
      {R"("addUser": { "node": "ldap", "attributes": { "RecordName": "zoe" } })", {}},
      {R"("changeUser": { "name": "bob", "attributes": { "FullName": "Robert" } })",
       {"distributed com.orvane.FullUserNameDidChangeNotification generatedUID=B0B"}},
      {R"("changeUser": { "name": "bob", "attributes": { "UserShell": "/bin/sh" } })",
       {"distributed com.orvane.gatehall.refreshuserlist"}},
      {R"("changeUser": { "name": "bob", "password": "" })",
       {"distributed com.orvane.gatehall.refreshuserlist"}},
      {R"("changeUser": { "name": "bob", "attributes": { "Picture": "/p", "GUID": null } })",
       {"distributed com.orvane.gatehall.refreshuserlist",
        "distributed com.orvane.FullUserNameDidChangeNotification"}},
      {R"("changeUser": { "name": "bob", "attributes": {
            "AuthenticationAuthority": ";DisabledUser;;ShadowHash;" } })",
       {"distributed com.orvane.UserWasDisabledNotification"}},
      {R"("changeUser": { "name": "bobby", "attributes": { "AuthenticationAuthority": null } })",
       {"distributed com.orvane.UserWasEnabledNotification"}},
      {R"("changeUser": { "node": "ldap", "name": "dana", "password": "" })", {}},
      {R"("parentalControls": { "1001": { "allowed": false }, "1": null })",
       {"distributed KinwatchLoginStatusChangedNotification userName=bob"}},
      {R"("removeUser": { "name": "bob" })", {"distributed com.orvane.UserWasRemovedNotification"}},
      {R"("removeUser": { "node": "ldap", "name": "dana" })", {}},
      {R"("addGroup": { "attributes": { "RecordName": "class" } })",
       {"system com.orvane.system.Lexidir.update.Local.groups"}},
      {R"("changeGroup": { "name": "class", "attributes": { "NestedGroups": [] } })",
       {"system com.orvane.system.Lexidir.update.Local.groups"}},
      {R"("addMember": { "group": "admin", "name": "bob" })",
       {"system com.orvane.system.Lexidir.update.Local.groups"}},
      {R"("removeMember": { "group": "admin", "name": "ann" })",
       {"system com.orvane.system.Lexidir.update.Local.groups"}},
      {R"("addMember": { "node": "ldap", "group": "staff", "name": "dana" })", {}},
      {R"("removeGroup": { "name": "class" })",
       {"system com.orvane.system.Lexidir.update.Local.groups"}},
      {R"("openSession": { "id": 3 })", {"distributed com.orvane.vexa.GUISessionUserChanged"}},
      {R"("changeSession": { "id": 2, "loginDone": true })",
       {"distributed com.orvane.vexa.GUISessionUserChanged"}},
      {R"("closeSession": 2)", {"distributed com.orvane.vexa.GUISessionUserChanged"}},
      {R"("closeSession": 1)",
       {"distributed com.orvane.vexa.GUISessionUserChanged",
        "system com.orvane.vexa.GUIConsoleSessionChanged"}},
      {R"("currentSession": 3)", {"system com.orvane.vexa.GUIConsoleSessionChanged"}},
      {R"("currentSession": null)", {"system com.orvane.vexa.GUIConsoleSessionChanged"}},
      {R"("currentSession": { "userID": 7 })", {"system com.orvane.vexa.GUIConsoleSessionChanged"}},
      {R"("preferences": { "d": { "user": { "A": true } } })",
       {"distributed com.orvane.gatehall.refreshuserlist"}},
      {R"("managed": { "d": { "A": true } })", {"distributed com.orvane.gatehall.refreshuserlist"}},
      {R"("membership": { "gatehall": { "members": [1001] } })",
       {"system com.orvane.system.Lexidir.update.Local.groups"}},
      {R"("directory": { "unreachable": ["ldap"] })", {}},
      {R"("locale": "sv")", {"process com.orvane.CurrentLocaleDidChangeNotification"}},
      {R"("now": "2026-11-21T09:00:00Z")", {}},
      {R"("post": { "name": "x" })", {"distributed x"}},
      {R"("post": { "name": "x", "to": "distributed", "userInfo": { "a": 1 } })",
       {"distributed x a=1"}},
      {R"("post": { "name": "x", "to": "process" })", {"process x"}},
      {R"("post": { "name": "x", "to": "system" })", {"system x"}},
      {R"("after": 3)", {}},
  };
  for (const auto& [step, posted] : postings) {
    EXPECT_EQ(play("[{" + std::string(step) + "}]"), posted) << step;
  }
}

TEST_F(WorldScript, NamesEachEventAndWhomItIsAbout) {
  Strings names;
  for (const auto& event : readScript({"s.json", R"([
         { "addUser": { "attributes": { "RecordName": ["zoe", "z"] } } },
         { "addMember": { "group": "admin", "name": "bob" } },
         { "openSession": { "id": 3, "userName": "bob" } },
         { "closeSession": 3 }, { "currentSession": null },
         { "managed": { "b": null, "a": {} } }, { "parentalControls": { "1001": null } },
         { "directory": { "available": false, "unreachable": [] } },
         { "post": { "name": "x" } }, {} ])"})) {
    names.push_back(event.name);
  }
  EXPECT_THAT(names, ElementsAre("addUser zoe", "addMember bob, admin", "openSession 3, bob",
                                 "closeSession 3", "currentSession none", "managed b, a",
                                 "parentalControls 1001",
                                 "directory not available, unreachable none", "post x", ""));
}

TEST_F(WorldScript, CountsSecondsFromStepToStep) {
  const auto start = mWorld->clock().now();
  play(R"([ { "after": 1.5 }, {}, { "after": 2, "post": { "name": "x" } } ])");
  EXPECT_EQ((mWorld->clock().now() - start).count(), 3.5);
}

TEST_F(WorldScript, ChangesWhatIsGivenOfAnAccountAndKeepsTheRest) {
  play(
      R"([ { "changeUser": { "name": "bob", "password": "new", "policy": { "maxFailedLoginAttempts": 2 },
      "attributes": { "FullName": "Robert", "lxAttrTypeStandard:GUID": null, "Picture": ["a", "b"] } } } ])");
  const auto bob = local(record::Users, "bob");
  EXPECT_EQ(bob->recordDetails({}),
            (Dictionary{{"RecordName", Strings{"bob", "bobby"}},
                        {"UniqueID", Strings{"1001"}},
                        {"FullName", Strings{"Robert"}},
                        {"Picture", Strings{"a", "b"}},
                        {"AuthenticationAuthority", Strings{";ShadowHash;"}},
                        {"MetaNodeLocation", Strings{"local"}}}));
  DirectoryError error;
  EXPECT_TRUE(bob->verifyPassword("new", error));
  EXPECT_EQ(bob->passwordPolicy(), (Dictionary{{"maxFailedLoginAttempts", 2}}));

  play(R"([ { "changeUser": { "name": "bob", "password": null, "policy": null } } ])");
  EXPECT_TRUE(bob->synchronize());
  EXPECT_FALSE(bob->verifyPassword("new", error));
  EXPECT_FALSE(bob->passwordPolicy());
}

TEST_F(WorldScript, AddsAndRemovesRecordsAsAWorldDescribesThem) {
  play(R"([ { "addUser": { "type": "Users", "password": "",
                "attributes": { "RecordName": "zoe", "UniqueID": 1005 } } },
            { "removeUser": { "name": "bob" } },
            { "addGroup": { "node": "ldap", "attributes": { "RecordName": "class" } } },
            { "removeGroup": { "name": "admin" } } ])");
  DirectoryError error;
  EXPECT_TRUE(local(record::Users, "zoe")->verifyPassword("", error));
  EXPECT_THROW(local(record::Users, "bob"), std::out_of_range);
  EXPECT_NO_THROW(mWorld->directory().node("ldap")->record(record::Groups, "class"));
  EXPECT_THROW(local(record::Groups, "admin"), std::out_of_range);
}

TEST_F(WorldScript, PutsMembersIntoAGroupOnceAndTakesThemOut) {
  play(R"([ { "addMember": { "group": "admin", "name": "bob" } },
            { "addMember": { "group": "admin", "name": "ann" } } ])");
  const auto admin = local(record::Groups, "admin");
  EXPECT_EQ(admin->valuesForAttribute("GroupMembership"), (Strings{"bob", "ann"}));
  play(R"([ { "removeMember": { "group": "admin", "name": "bob" } },
            { "removeMember": { "group": "admin", "name": "nobody" } } ])");
  EXPECT_TRUE(admin->synchronize());
  EXPECT_EQ(admin->valuesForAttribute("GroupMembership"), Strings{"ann"});
}

TEST_F(WorldScript, MovesSessionsAndTheConsole) {
  play(R"([ { "changeSession": { "id": 2, "userName": "dana", "loginDone": true } },
            { "currentSession": 2 }, { "closeSession": 1 } ])");
  const Dictionary dana = {{"kVXSSessionIDKey", 2},
                           {"kVXSSessionUserIDKey", 2001},
                           {"kVXSSessionUserNameKey", "dana"},
                           {"kVXSessionLoginDoneKey", true}};
  EXPECT_EQ(mWorld->sessions().copyCurrentSession(), dana);
  EXPECT_THAT(*mWorld->sessions().copySessionList(), ElementsAre(dana));
  play(R"([ { "closeSession": 2 } ])");
  EXPECT_FALSE(mWorld->sessions().copyCurrentSession());
}

TEST_F(WorldScript, SetsAndRemovesPreferencesOneByOneAndReplacesManagedFilesWhole) {
  play(R"([ { "preferences": { "d": { "system": { "A": null, "C": [1] }, "user": { "B": "b" } } } },
            { "managed": { "d": { "M": 1, "N": 2 }, "e": {} } },
            { "managed": { "d": { "M": { "$date": "2026-01-01T00:00:00Z" } }, "e": null } } ])");
  auto& preferences = mWorld->preferences();
  EXPECT_FALSE(preferences.copyApplicationValue("A", "d"));
  EXPECT_EQ(preferences.copyApplicationValue("B", "d"), Value("b"));
  EXPECT_EQ(preferences.copyApplicationValue("C", "d"), Value(Array{1}));
  auto& files = mWorld->propertyLists();
  EXPECT_EQ(files.readPropertyList(WorldPropertyLists::managedPath("d")),
            (Dictionary{{"M", WorldClock::kStart}}));
  EXPECT_FALSE(files.readPropertyList(WorldPropertyLists::managedPath("e")));
}

TEST_F(WorldScript, SetsAndRemovesAccessListsAndLimits) {
  auto& membership = mWorld->membership();
  Identifier identifier{};
  bool isMember = false;
  const auto status = [&] {
    membership.userIDToIdentifier(1001, identifier);
    return membership.checkServiceMembership(identifier, "gatehall", isMember);
  };
  play(R"([ { "membership": { "gatehall": { "members": [1001] } } },
            { "parentalControls": { "1001": { "allowed": false, "result": 3 } } } ])");
  EXPECT_EQ(status(), 0);
  EXPECT_TRUE(isMember);
  std::int32_t result = 0;
  std::optional<Date> curfew;
  EXPECT_FALSE(mWorld->parentalControls().mayLogInNow(1001, result, curfew));
  EXPECT_EQ(result, 3);
  play(R"([ { "membership": { "gatehall": null } }, { "parentalControls": { "1001": null } } ])");
  EXPECT_EQ(status(), MembershipService::kNoAccessList);
  EXPECT_TRUE(mWorld->parentalControls().mayLogInNow(1001, result, curfew));
}

TEST_F(WorldScript, SetsWhatCanBeReachedTheOrderOfNamesAndTheClock) {
  play(R"([ { "directory": { "unreachable": ["ldap", "unix"] } },
            { "directory": { "unreachable": ["unix"] } }, { "locale": "sv" },
            { "now": "2026-11-21T09:00:00Z" } ])");
  const auto session = mWorld->directory().defaultSession();
  EXPECT_THAT(*session->nodeByType(NodeType::Search)->unreachableSubnodeNames(),
              ElementsAre("unix"));
  EXPECT_EQ(mWorld->collation().compare("Åsa", "Zoe"), 1);
  EXPECT_EQ(mWorld->clock().now(), Date(std::chrono::seconds(1'795'251'600)));
  play(R"([ { "directory": { "available": false } }, { "locale": "" } ])");
  EXPECT_EQ(mWorld->directory().defaultSession(), nullptr);
  EXPECT_EQ(mWorld->collation().compare("Åsa", "Zoe"), -1);
}

TEST_F(WorldScript, MayHaveNoStepsAndHoldComments) {
  EXPECT_THAT(readScript({"s.json", "// nothing\n[ /* at all */ ]"}), IsEmpty());
}

struct Refusal {
  const char* name;
  std::string text;
  std::string message;
};

void PrintTo(const Refusal& refusal, std::ostream* out) { *out << refusal.text; }

class RefusedScript : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedScript, NamesTheFileThePlaceAndTheReasonBeforeAnythingHappens) {
  EXPECT_THAT(
      [] {
        readScript({"s.json", GetParam().text});
      },
      testing::ThrowsMessage<WorldError>(GetParam().message));
}

const Refusal kRefusals[] = {
    {"NoList", "{}", "s.json:1:1: expected a list"},
    {"NoObject", "[5]", "s.json:1:2: /0: expected an object"},
    {"UnknownEvent", "[{},\n {\"addUsr\": {}}]",
     "s.json:2:3: /1/addUsr: unknown key; known are after, addUser, changeUser, removeUser, "
     "addGroup, changeGroup, removeGroup, addMember, removeMember, openSession, changeSession, "
     "closeSession, currentSession, preferences, managed, parentalControls, membership, directory, "
     "locale, now, post"},
    {"TwoEvents", R"([{"locale": "sv", "closeSession": 1}])",
     "s.json:1:35: /0/closeSession: a step has one event; this is its second"},
    {"NegativePause", R"([{"after": -1}])",
     "s.json:1:12: /0/after: expected a number of seconds from 0 to 1000000000"},
    {"EndlessPause", R"([{"after": 1e300}])",
     "s.json:1:12: /0/after: expected a number of seconds from 0 to 1000000000"},
    {"PauseInWords", R"([{"after": "a while"}])", "s.json:1:12: /0/after: expected a real number"},
    {"UnknownKeyOfAUser", R"([{"addUser": {"attribute": {}}}])",
     "s.json:1:15: /0/addUser/attribute: unknown key; known are node, type, attributes, password, "
     "policy"},
    {"AGroupAsUser", R"([{"addUser": {"type": "Groups"}}])",
     "s.json:1:23: /0/addUser/type: expected \"Users\""},
    {"AUserID", R"([{"addUser": {"attributes": {"UniqueID": "x"}}}])",
     "s.json:1:42: /0/addUser/attributes/UniqueID: expected a decimal number from 0 to "
     "4294967295"},
    {"AChangeOfNobody", R"([{"changeUser": {}}])",
     "s.json:1:17: /0/changeUser: the event needs a \"name\""},
    {"AGroupsPassword", R"([{"changeGroup": {"name": "a", "password": ""}}])",
     "s.json:1:32: /0/changeGroup/password: unknown key; known are node, name, attributes"},
    {"AMemberOfNothing", R"([{"addMember": {"name": "bob"}}])",
     "s.json:1:16: /0/addMember: the event needs a \"group\""},
    {"ASessionWithoutID", R"([{"changeSession": {"loginDone": true}}])",
     "s.json:1:20: /0/changeSession: the event needs an \"id\""},
    {"AScope", R"([{"preferences": {"d": {"sys": {}}}}])",
     "s.json:1:25: /0/preferences/d/sys: unknown key; known are user, system"},
    {"ANullInManagedSettings", R"([{"managed": {"d": {"a": null}}}])",
     "s.json:1:26: /0/managed/d/a: there is no such value as null; leave the key out"},
    {"ALimitOfNobody", R"([{"parentalControls": {"bob": null}}])",
     "s.json:1:31: /0/parentalControls/bob: \"bob\" is no user id"},
    {"AnUnknownCentre", R"([{"post": {"name": "x", "to": "all"}}])",
     "s.json:1:31: /0/post/to: expected \"distributed\", \"process\" or \"system\""},
    {"ASystemNotificationWithContent",
     R"([{"post": {"name": "x", "to": "system", "userInfo": {}}}])",
     "s.json:1:53: /0/post/userInfo: a notification of the system has no content"},
    {"ANotificationWithoutName", R"([{"post": {}}])",
     "s.json:1:11: /0/post: the event needs a \"name\""},
};

INSTANTIATE_TEST_SUITE_P(EveryReason, RefusedScript, testing::ValuesIn(kRefusals),
                         [](const auto& refusal) { return refusal.param.name; });

TEST_F(WorldScript, SaysWhereSomethingCannotHappen) {
  const std::pair<std::string_view, const char*> impossible[] = {
      {R"([{"removeUser": {"name": "zoe"}}])", "s.json:1:17: /0/removeUser: no record \"zoe\""},
      {R"([{"addUser": {"node": "moon"}}])", "s.json:1:14: /0/addUser: no node \"moon\""},
      {R"([{"addMember": {"group": "wheel", "name": "bob"}}])",
       "s.json:1:16: /0/addMember: no record \"wheel\""},
      {R"([{"closeSession": 9}])", "s.json:1:19: /0/closeSession: no session 9"},
      {R"([{"changeSession": {"id": 9}}])", "s.json:1:20: /0/changeSession: no session 9"},
      {R"([{"currentSession": 9}])", "s.json:1:21: /0/currentSession: no session 9"},
  };
  for (const auto& each : impossible) {
    EXPECT_THAT([&] { play(each.first); }, testing::ThrowsMessage<WorldError>(each.second));
  }
  mWorld->directory().setLocalNode(std::nullopt);
  EXPECT_THAT([&] { play(R"([{"addUser": {}}])"); },
              testing::ThrowsMessage<WorldError>(
                  "s.json:1:14: /0/addUser: there is no local node; say which \"node\""));
}

TEST_F(WorldScript, IsReadFromAFileWhichErrorsName) {
  EXPECT_THAT([] { scriptFromFile("/nonexistent/s.json"); },
              testing::ThrowsMessage<WorldError>("/nonexistent/s.json: No such file or directory"));
}

}  // namespace
}  // namespace gatehall
