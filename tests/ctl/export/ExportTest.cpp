#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/ctl/RunWorld.h"
#include "tests/ctl/SameAnswers.h"
#include "tests/linux/Machine.h"

// A machine as a world file.

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::HasSubstr;
using testing::Not;
using Json = nlohmann::ordered_json;

/// A machine under a folder with accounts of many shapes.
class ExportedRoot : public testing::Test {
 protected:
  ExportedRoot() {
    machine.write("/etc/passwd",
                  "root:x:0:0:root:/root:/bin/bash\n"
                  "daemon:x:1:1:daemon:/usr/sbin:/usr/sbin/nologin\n"
                  "ann:x:1000:1000:Ann Lee,,,:/home/ann:/bin/bash\n"
                  "bob:x:1001:1001:Bob Ray:/home/bob:/bin/bash\n"
                  "carol:x:1002:100:C\xE4rol:/home/carol:/bin/bash\n"
                  "locked:x:1003:1003:Locked:/home/locked:/bin/bash\n"
                  "expired:x:1004:1004:Expired:/home/expired:/bin/bash\n"
                  "old:x:1005:1005::/home/old:/bin/sh\n"
                  "guest:x:1006:1006:Guest:/home/guest:/bin/bash\n"
                  "erin:x:1007:1007:Erin:/home/erin:/bin/bash\n"
                  "nologin:x:1008:1008:No:/home/nologin:/usr/sbin/nologin\n");
    machine.write("/etc/shadow",
                  "root:*:19000:0:99999:7:::\n"
                  "daemon:*:19000:0:99999:7:::\n"
                  "ann:$6$salt$hash:19000:0:60:7:30::\n"
                  "bob::19000:0:99999:7:::\n"
                  "carol:$6$salt$hash:0:0:99999:7:::\n"
                  "locked:!$6$salt$hash:19000:0:99999:7:::\n"
                  "expired:$6$salt$hash:19000:0:99999:7::1:\n"
                  "guest::19000::::::\n"
                  "erin:$6$salt$hash:19000::::::\n"
                  "nologin:*:19000::::::\n");
    machine.write("/etc/group",
                  "root:x:0:\nsudo:x:27:ann\nusers:x:100:bob\nann:x:1000:\nbob:x:1001:\n"
                  "gatehall-access:x:990:bob,erin,guest\n");
    machine.write("/etc/userdb/erin.user", R"({"userName": "erin", "uid": 1007,
      "uuid": "6c6b2f1e-0000-4000-8000-000000001007", "aliases": ["erna"],
      "com.orvane.gatehall": {"OriginalNodeName": "ldap/school", "CopyTimestamp": "2026-01-01"}})");
    machine.write("/etc/userdb/zoe.user",
                  R"({"userName": "zoe", "uid": 60000, "realName": "Zoe", "locked": true})");
    machine.write("/etc/default/locale", "LANG=sv_SE.UTF-8\n");
  }

  void setManaged(const std::string& content) const {
    machine.write("/etc/gatehall/managed/com.orvane.gatehall.plist",
                  "<plist version=\"1.0\"><dict>" + content + "</dict></plist>");
  }
  void setSystem(const std::string& content) const {
    machine.write("/etc/gatehall/com.orvane.gatehall.plist",
                  "<plist version=\"1.0\"><dict>" + content + "</dict></plist>");
  }
  std::string guidOf(const char* group) {
    return machine.group(group)->valuesForAttribute(attribute::GUID)->front();
  }
  Strings place() const { return {"--root", machine.options.root}; }

  ctl::Outcome exported(Strings more = {}) const {
    auto words = place();
    words.insert(words.end(), "export");
    words.insert(words.end(), more.begin(), more.end());
    return run(words);
  }
  void expectSame(const Strings& more = {}) {
    const auto outcome = exported(more);
    ASSERT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
    const WorldFileOnDisk world(outcome.output);
    const Asked asked{
        .users = {"0", "1", "1000", "1001", "1002", "1003", "1004", "1005", "1006", "1007", "1008",
                  "60000", "4242"},
        .guids = {guidOf("sudo"), guidOf("users"), guidOf("gatehall-access"), guidOf("admin")}};
    expectSameAnswers(place(), world.path(), asked);
  }

  Machine machine;
};

TEST_F(ExportedRoot, AnswersEveryVerbAsTheMachineDoes) { expectSame(); }

TEST_F(ExportedRoot, AnswersSoWithListsToo) {
  setManaged("<key>AllowList</key><array><string>" + guidOf("users") +
             "</string></array><key>StrictAllowList</key><true/>");
  setSystem(
      "<key>HideAdminUsers</key><true/><key>HiddenUsersList</key><array>"
      "<string>carol</string></array>");
  expectSame();
}

TEST_F(ExportedRoot, AnswersSoWithALocalLoginThatIsClosed) {
  setSystem(
      "<key>LocalUserLoginEnabled</key><false/><key>DenyList</key><array><string>*</string>"
      "</array>");
  expectSame();
}

TEST_F(ExportedRoot, IsUndecidableForTheSameReasonWhereAFileCanNotBeUsed) {
  setSystem("<key>AllowLists</key><true/>");
  expectSame();
  setManaged("<key>DenyList</key><true/>");
  expectSame();
  EXPECT_THAT(exported().output, HasSubstr("it is no list"));
}

TEST_F(ExportedRoot, TellsWhichPasswordsAreEmptyAndNoOther) {
  const auto text = exported().output;
  const auto world = Json::parse(text, nullptr, true, true);
  std::map<std::string, Json> passwords;
  for (const auto& record : world["directory"]["nodes"][0]["records"]) {
    const auto& name = record["attributes"]["RecordName"];
    if (record["type"] != "Users" || !name.is_string()) continue;
    passwords[name] = record.value("password", Json("none"));
  }
  EXPECT_EQ(passwords["bob"], "");
  EXPECT_EQ(passwords["ann"], "none");
  EXPECT_EQ(passwords["locked"], "none");
  EXPECT_THAT(text, Not(HasSubstr("$6$")));
  EXPECT_THAT(text, HasSubstr(";DisabledUser;"));
}

TEST_F(ExportedRoot, SaysWhatTheRunCouldNotKnow) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
  ASSERT_EQ(chmod(machine.path("/etc/shadow").c_str(), 0600), 0);
  ASSERT_EQ(chmod(machine.options.root.c_str(), 0755), 0);
  EXPECT_THAT(exported().output, Not(HasSubstr("can't be read")));
  ASSERT_EQ(seteuid(65534), 0);
  const auto outcome = exported();
  expectSame();
  ASSERT_EQ(seteuid(0), 0);
  constexpr const char* kSentence =
      "Password hashes can't be read: every password counts as set, and none as locked";
  EXPECT_THAT(outcome.output, HasSubstr(std::string("// ") + kSentence + ".\n"));
  EXPECT_THAT(outcome.errors, HasSubstr(kSentence));
}

TEST_F(ExportedRoot, IsTheSameWorldWhenItIsExportedAgain) {
  setManaged("<key>DenyList</key><array><string>" + guidOf("users") + "</string></array>");
  const auto first = exported().output;
  const WorldFileOnDisk world(first);
  const auto second = run({"--world", world.path(), "export"}).output;
  EXPECT_EQ(first, second);
}

TEST(ExportedMachine, ThisOneAnswersEveryVerbInItsWorld) {
  const auto outcome = run({"export", "--all"});
  ASSERT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  const WorldFileOnDisk world(outcome.output);
  expectSameAnswers({}, world.path(), {.users = {"0", "1", "1000", "65534"}, .guids = {}});
}

TEST(ExportedWorld, KeepsWhatThePlatformCanNotTell) {
  const std::string world = R"({"now": "2026-01-02T03:04:05Z", "locale": "de_DE.UTF-8",
    "directory": {"localNode": "local",
      "searchNode": {"name": "search", "covers": ["local", "unix", "ldap/a"],
                     "unreachable": ["ldap/a"]},
      "nodes": [{"name": "local", "records": [{"type": "Groups", "attributes": {
          "RecordName": "staff", "GUID": "6C6B2F1E-0000-4000-8000-00000000A001"},
          "unreadable": {"GroupMembership": "no answer"}}]},
        {"name": "unix"},
        {"name": "ldap/a", "server": "ldaps://a", "tls": "verified", "whenAway": "refuse",
         "away": "no route"}]},
    "sessions": {"current": null, "list": [null, {"id": 3, "userID": -2}]},
    "membership": {"gatehall": {"members": ["6C6B2F1E-0000-4000-8000-00000000A001", 7],
                                "missing": "no route"}, "other": {"status": 4}},
    "parentalControls": {"1001": {"allowed": false, "result": 3,
                                  "nextCurfew": "2026-01-02T20:00:00Z"}},
    "preferences": {"com.orvane.gatehall": {"user": {"Since": {"$date": "2026-01-01T00:00:00Z"}},
                                            "system": {"Hide500Users": true}}},
    "managed": {"com.orvane.gatehall": {"DenyList": ["*"], "Key": {"$data": "aGVsbG8="}}},
    "faults": [{"operation": "verifyPassword", "call": 1, "raise": "platform", "text": "no",
                "where": {"user": "1001"}}]})";
  const auto exported = runIn(world, {"--json", "export"});
  auto expected = Json::parse(world);
  expected["process"]["effectiveUserID"] = 0;
  // Key by key, since sections that are left out have an order of their own.
  const auto found = documentOf(exported)["world"];
  EXPECT_EQ(nlohmann::json::parse(found.dump()), nlohmann::json::parse(expected.dump()));
}

/// What becomes of dana of ldap/a, who is let in by a list of the machine's own group, there and in
/// the world that is exported from there. The groups are given as those of each node, the list's
/// entry as spelled.
void expectDanaKeepsHerLogin(const std::string& ownGroups, const std::string& networkGroups,
                             const std::string& listed) {
  const auto world = R"({"directory": {"localNode": "local",
      "searchNode": {"name": "search", "covers": ["local", "unix", "ldap/a"]},
      "nodes": [{"name": "local", "records": [)" +
                     ownGroups + R"(]}, {"name": "unix"}, {"name": "ldap/a", "records": [)" +
                     networkGroups + R"({"type": "Users", "attributes": {"RecordName": "dana",
          "UniqueID": 2000, "GUID": "6C6B2F1E-0000-4000-8000-000000002000"}},
        {"type": "Users", "attributes": {"RecordName": "eve", "UniqueID": 2001,
          "GUID": "6C6B2F1E-0000-4000-8000-000000002001"}}]}]},
    "managed": {"com.orvane.gatehall": {"AllowList": [")" +
                     listed + R"("]}}})";
  const auto exported = runIn(world, {"export"});
  ASSERT_EQ(exported.status, ExitStatus::Done) << exported.errors;
  const Strings words{"--json", "can-log-in", "2000"};
  const auto there = documentOf(runIn(world, words));
  EXPECT_EQ(there["users"][0]["allowed"], true) << there;
  EXPECT_EQ(documentOf(runIn(exported.output, words)), there) << exported.output;
  EXPECT_THAT(exported.output, Not(HasSubstr("eve"))) << "nobody leads to her";
}

std::string groupIn(const char* name, const char* guidsEnd, const std::string& more) {
  return std::string(R"({"type": "Groups", "attributes": {"RecordName": ")")
      .append(name)
      .append(R"(", "GUID": "6C6B2F1E-0000-4000-8000-00000000)")
      .append(guidsEnd)
      .append("\", ")
      .append(more)
      .append("}}");
}

TEST(ExportedWorld, ReachesNetworkAccountsThroughNestedGroupsInWhateverOrder) {
  const auto inner = groupIn("inner", "A001", R"("GroupMembership": "dana")");
  const auto outer =
      groupIn("outer", "A002", R"("NestedGroups": "6C6B2F1E-0000-4000-8000-00000000A001")");
  constexpr const char* kOuter = "6C6B2F1E-0000-4000-8000-00000000A002";
  expectDanaKeepsHerLogin(outer + "," + inner, "", kOuter);
  expectDanaKeepsHerLogin(inner + "," + outer, "", kOuter);
  // Of the network's groups one holds one of the machine's own.
  expectDanaKeepsHerLogin(inner, outer + ",", kOuter);
  expectDanaKeepsHerLogin(outer, inner + ",", kOuter);
}

TEST(ExportedWorld, ReachesThemHoweverAListSpellsTheGroup) {
  expectDanaKeepsHerLogin(groupIn("inner", "A001", R"("GroupMembership": "dana")"), "",
                          "6c6b2f1e-0000-4000-8000-00000000a001");
}

}  // namespace
}  // namespace gatehall
