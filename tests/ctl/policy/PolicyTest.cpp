#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <unistd.h>

#include "tests/ctl/RunWorld.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using Json = nlohmann::ordered_json;
using testing::HasSubstr;

const std::string kManaged = "/etc/gatehall/managed/com.orvane.gatehall.plist";
const std::string kOldManaged = "/Library/Managed Preferences/com.orvane.gatehall.plist";
const std::string kPreferences = "/etc/gatehall/com.orvane.gatehall.plist";

std::string plist(std::string_view entries) {
  return "<plist version=\"1.0\">\n<dict>\n" + std::string(entries) + "</dict>\n</plist>\n";
}

class Policy : public testing::Test {
 protected:
  Policy() {
    machine.write("/etc/passwd",
                  "ann:x:1000:50:Ann:/home/ann:/bin/bash\n"
                  "bob:x:1001:50:Bob:/home/bob:/bin/bash\n"
                  "erin:x:1002:50:Erin:/home/erin:/bin/bash\n");
    machine.write("/etc/group", "staff:x:50:\nsudo:x:27:ann\nclass-7:x:70:erin\n");
    machine.write("/etc/shadow",
                  "ann:$6$a:19000:0:99999:7:::\nbob:$6$a:19000:0:99999:7:::\n"
                  "erin:$6$a:19000:0:99999:7:::\n");
  }

  ctl::Outcome policy(Strings words) {
    words.insert(words.begin(), {"--root", machine.options.root, "policy"});
    return run(words);
  }
  void expectDone(Strings words) {
    const auto outcome = policy(std::move(words));
    EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  }
  /// What is said of words that change nothing.
  std::string refusal(Strings words, ExitStatus expected = ExitStatus::WrongUsage) {
    const auto before = read(kManaged);
    const auto outcome = policy(std::move(words));
    EXPECT_EQ(outcome.status, expected) << outcome.errors;
    EXPECT_EQ(read(kManaged), before);
    return outcome.errors;
  }
  std::string read(const std::string& path) {
    std::ifstream file(machine.path(path));
    std::stringstream text;
    text << file.rdbuf();
    return file ? text.str() : "absent";
  }
  /// The GUID of a user or a group of the machine.
  std::string guid(const std::string& name) {
    const auto user = machine.user(name);
    return values(user ? user : machine.group(name), attribute::GUID).front();
  }

  Machine machine;
};

TEST_F(Policy, IsShownFileByFileWithWhatCounts) {
  EXPECT_EQ(policy({"show"}).output, "no file sets anything\n");
  machine.write(kManaged, plist("<key>DenyList</key>\n<array><string>" + guid("erin") +
                                "</string><string>*</string></array>\n"));
  machine.write(kOldManaged, plist("<key>Hide500Users</key><true/>\n"));
  machine.write(kPreferences, plist("<key>DenyList</key><array/>\n"
                                    "<key>HideAdminUsers</key><true/>\n"));
  EXPECT_EQ(policy({"show"}).output,
            "# " + kManaged +
                " (managed)\n"
                "DenyList  " +
                guid("erin") +
                "  erin       line 3\n"
                "          *                                     everybody\n\n"
                "# " +
                kOldManaged +
                " (managed, doesn't count)\n"
                "Hide500Users  yes    line 3, doesn't count\n\n"
                "# " +
                kPreferences +
                " (preferences)\n"
                "DenyList        (empty)    line 3, doesn't count\n"
                "HideAdminUsers  yes        line 4\n");
  const auto files =
      documentOf(run({"--root", machine.options.root, "--json", "policy", "show"}))["files"];
  ASSERT_EQ(files.size(), 3U);
  EXPECT_EQ(files[0]["path"], kManaged);
  EXPECT_EQ(files[0]["settings"][0]["names"], (Json{{guid("erin"), "erin"}, {"*", "everybody"}}));
  EXPECT_EQ(files[1]["counts"], false);
  EXPECT_EQ(files[2]["kind"], "preferences");
  EXPECT_EQ(files[2]["settings"][1], (Json{{"key", "HideAdminUsers"},
                                           {"value", true},
                                           {"line", 4},
                                           {"counts", true},
                                           {"names", Json::object()}}));
}

TEST_F(Policy, ShowsWhyAFileCanNotBeUsed) {
  machine.write(kManaged, plist("<key>DenyList</key><true/>\n"));
  const auto outcome = policy({"show"});
  EXPECT_EQ(outcome.status, ExitStatus::No);
  EXPECT_THAT(outcome.output, HasSubstr("(managed), line 3: DenyList: it is no list\n"));
}

TEST_F(Policy, PutsPeopleOnListsByGUIDWithTheirNamesBeside) {
  expectDone({"deny", "erin", "class-7"});
  EXPECT_EQ(read(kManaged),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
            "  <key>DenyList</key>\n  <array>\n"
            "    <string>" +
                guid("erin") +
                "</string> <!-- erin -->\n"
                "    <string>" +
                guid("class-7") +
                "</string> <!-- class-7 (group) -->\n"
                "  </array>\n</dict>\n</plist>\n");
  struct stat status {};
  ASSERT_EQ(stat(machine.path(kManaged).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0644U);
  // By their ids they are the same.
  EXPECT_THAT(policy({"deny", "1002", guid("class-7")}).errors,
              HasSubstr("erin is on the DenyList already"));
  expectDone({"allow", "erin", "*"});
  EXPECT_THAT(read(kManaged), HasSubstr("<array>\n    <string>" + guid("class-7")));
  EXPECT_THAT(read(kManaged), HasSubstr("<string>" + guid("erin") +
                                        "</string> <!-- erin -->\n"
                                        "    <string>*</string> <!-- everybody -->\n"));
  expectDone({"remove", "class-7", "erin", "*"});
  EXPECT_THAT(read(kManaged), testing::Not(HasSubstr("<string>")));
  EXPECT_THAT(refusal({"remove", "erin"}), HasSubstr("erin is on neither list of the file"));
}

TEST_F(Policy, TakesAGUIDOffThatNamesNobodyAnyMore) {
  const std::string gone = "5C400100-8D1F-4E7A-9B36-0000000020A0";
  machine.write(kManaged, plist("<key>DenyList</key><array>\n<string>" + gone +
                                "</string> <!-- who left -->\n</array>\n"));
  expectDone({"remove", "5c400100-8d1f-4e7a-9b36-0000000020a0"});
  EXPECT_EQ(read(kManaged), plist("<key>DenyList</key><array>\n</array>\n"));
}

TEST_F(Policy, KeepsWhatIsNotAskedFor) {
  const std::string written =
      "<!-- The classroom's policy. -->\n<key>Hide500Users</key>\n<true/> <!-- ours -->\n"
      "<key>DenyList</key><array/>\n";
  machine.write(kManaged, plist(written));
  expectDone({"set", "HideAdminUsers", "yes"});
  EXPECT_EQ(read(kManaged), plist(written + "  <key>HideAdminUsers</key>\n  <true/>\n"));
  expectDone({"set", "HideAdminUsers", "OFF"});
  expectDone({"reset", "HideAdminUsers"});
  EXPECT_EQ(read(kManaged), plist(written));
  expectDone({"reset"});
  EXPECT_EQ(read(kManaged), plist("<!-- The classroom's policy. -->\n"));
}

TEST_F(Policy, SetsAListAndKeepsWhatIsWrittenBesideThoseWhoStay) {
  machine.write(kManaged, plist("<key>HiddenUsersList</key>\n<array>\n<!-- ours -->\n"
                                "<string>bob</string> <!-- who left -->\n"
                                "<string>erin</string> <!-- the guest -->\n</array>\n"));
  expectDone({"set", "HiddenUsersList", "ann", "erin"});
  EXPECT_EQ(read(kManaged), plist("<key>HiddenUsersList</key>\n<array>\n<!-- ours -->\n"
                                  "<string>erin</string> <!-- the guest -->\n"
                                  "<string>ann</string>\n</array>\n"));
  expectDone({"set", "HiddenUsersList", "bob"});
  EXPECT_EQ(read(kManaged), plist("<key>HiddenUsersList</key>\n<array>\n<!-- ours -->\n"
                                  "<string>bob</string>\n</array>\n"));
}

TEST_F(Policy, SaysWhomANewAllowListLeavesOutUnlessItHoldsEverybody) {
  const std::string remark = "only those on it may log in then";
  EXPECT_THAT(policy({"allow", "erin", "--dry-run"}).errors, HasSubstr(remark));
  EXPECT_THAT(policy({"allow", "*", "--dry-run"}).errors, testing::Not(HasSubstr(remark)));
}

TEST_F(Policy, ShowsWhatWarnsBeforeItIsWritten) {
  std::string shown;
  std::string readMeanwhile;
  const ctl::Screen screen{.write =
                               [&](std::string_view text) {
                                 shown += text;
                                 readMeanwhile = read(kManaged);
                                 return true;
                               },
                           .size = [] { return std::nullopt; }};
  const auto outcome =
      ctl::runCommandLine({"--root", machine.options.root, "policy", "allow", "erin"}, screen);
  EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  EXPECT_THAT(shown, HasSubstr("only those on it may log in then\n"));
  EXPECT_EQ(readMeanwhile, "absent");
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(Policy, SetsListsAndBooleans) {
  expectDone({"set", "HiddenUsersList", "bob", "erin"});
  expectDone({"set", "DenyList", "bob"});
  expectDone({"set", "StrictAllowList", "true"});
  expectDone({"set", "DenyList", "erin"});
  EXPECT_EQ(read(kManaged),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
            "  <key>HiddenUsersList</key>\n  <array>\n    <string>bob</string>\n"
            "    <string>erin</string>\n  </array>\n"
            "  <key>DenyList</key>\n  <array>\n    <string>" +
                guid("erin") +
                "</string> <!-- erin -->\n  </array>\n"
                "  <key>StrictAllowList</key>\n  <true/>\n</dict>\n</plist>\n");
}

TEST_F(Policy, RefusesWordsThatMeanNothing) {
  EXPECT_THAT(refusal({"deny", "erni"}), HasSubstr("no user and no group is 'erni'; did you mean "
                                                   "erin?"));
  EXPECT_THAT(refusal({"deny"}), HasSubstr("NAME is missing"));
  EXPECT_THAT(refusal({"set"}), HasSubstr("KEY is missing"));
  EXPECT_THAT(refusal({"set", "StrictAlowList", "yes"}),
              HasSubstr("'StrictAlowList' is no setting; did you mean StrictAllowList?"));
  EXPECT_THAT(refusal({"set", "Hide500Users", "maybe"}), HasSubstr("takes one word, yes or no"));
  EXPECT_THAT(refusal({"set", "Hide500Users"}), HasSubstr("takes one word, yes or no"));
  EXPECT_THAT(refusal({"reset", "Hide500Users"}), HasSubstr("doesn't set 'Hide500Users'"));
  EXPECT_THAT(refusal({"permit", "erin"}), HasSubstr("policy permit: there are show, allow"));
  EXPECT_THAT(refusal({"show", "erin"}), HasSubstr("one word too many"));
}

TEST_F(Policy, ShowsForWhomItChangesWhatAndWritesNothingInADryRun) {
  const auto outcome = policy({"set", "LocalUserLoginEnabled", "no", "--dry-run"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  EXPECT_THAT(outcome.output, HasSubstr("LocalUserLoginEnabled  not set -> no\n"));
  EXPECT_THAT(outcome.output,
              HasSubstr("erin  loses  disappears  local login enabled  local login disabled\n"));
  EXPECT_EQ(read(kManaged), "absent");
  EXPECT_FALSE(std::filesystem::exists(machine.path("/etc/gatehall")));
  const auto json = documentOf(run(
      {"--root", machine.options.root, "--json", "policy", "set", "LocalUserLoginEnabled", "no"}));
  EXPECT_EQ(json["file"], kManaged);
  EXPECT_EQ(json["changes"], Json::parse(R"([{ "key": "LocalUserLoginEnabled", "before": null,
                                               "after": false }])"));
  EXPECT_EQ(json["machines"][0]["differences"].size(), 3U);
  EXPECT_EQ(json["refused"], nullptr);
  EXPECT_EQ(json["written"], true);
  EXPECT_THAT(policy({"set", "LocalUserLoginEnabled", "no"}).errors,
              HasSubstr(kManaged + " says so already"));
}

TEST_F(Policy, IsNotWrittenWhenWhatItChangesCanNotBeShown) {
  const ctl::Screen closed{.write = [](std::string_view) { return false; },
                           .size = [] { return std::nullopt; }};
  const auto outcome = ctl::runCommandLine(
      {"--root", machine.options.root, "policy", "set", "Hide500Users", "yes"}, closed);
  EXPECT_EQ(outcome.status, ExitStatus::HostFailure);
  EXPECT_EQ(read(kManaged), "absent");
}

TEST_F(Policy, TakesOverWhatTheOldManagedFileSays) {
  const auto old = plist("<!-- ours -->\n<key>Hide500Users</key><true/>\n");
  machine.write(kOldManaged, old);
  const auto outcome = policy({"set", "HideAdminUsers", "yes"});
  EXPECT_THAT(outcome.output, HasSubstr(kManaged + " takes over what " + kOldManaged + " says"));
  EXPECT_EQ(read(kManaged), plist("<!-- ours -->\n<key>Hide500Users</key><true/>\n"
                                  "  <key>HideAdminUsers</key>\n  <true/>\n"));
  EXPECT_EQ(read(kOldManaged), old);
  machine.remove(kManaged);
  machine.write(kOldManaged, "broken");
  EXPECT_THAT(refusal({"set", "HideAdminUsers", "yes"}), HasSubstr(kOldManaged + ": "));
}

TEST_F(Policy, TakesOverTheListsThatItWouldHide) {
  machine.write(kPreferences,
                plist("<key>DenyList</key><array><string>" + guid("bob") + "</string></array>\n"));
  const auto outcome = policy({"deny", "erin"});
  EXPECT_THAT(outcome.output, HasSubstr("the DenyList takes over the entries of the preferences"));
  EXPECT_THAT(read(kManaged), HasSubstr("</string> <!-- bob -->\n"));
  EXPECT_THAT(read(kManaged), HasSubstr("</string> <!-- erin -->\n"));
  machine.remove(kManaged);
  // Whoever is to be allowed is on none that denies.
  expectDone({"allow", "bob"});
  EXPECT_THAT(read(kManaged), HasSubstr("<key>DenyList</key>\n  <array>\n  </array>\n"));
}

TEST_F(Policy, WritesTheMachinesPreferencesWhereThatIsAskedFor) {
  machine.write(kManaged, plist("<key>Hide500Users</key><true/>\n"));
  const auto outcome = policy({"--preferences", "set", "Hide500Users", "no"});
  EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  EXPECT_THAT(outcome.output, HasSubstr("Hide500Users has no effect: " + kManaged));
  EXPECT_THAT(read(kPreferences), HasSubstr("<key>Hide500Users</key>\n  <false/>\n"));
  machine.remove(kManaged);
  EXPECT_THAT(policy({"set", "Hide500Users", "yes"}).output,
              HasSubstr("Hide500Users of " + kPreferences + " counts no longer then"));
}

TEST_F(Policy, NeverWritesOverAFileThatCanNotBeUsed) {
  for (const auto* content : {"broken", "<plist><array/></plist>",
                              "<plist><dict><key>DenyList</key><true/></dict></plist>"}) {
    machine.write(kManaged, content);
    EXPECT_THAT(refusal({"deny", "erin"}), HasSubstr(kManaged));
    EXPECT_THAT(refusal({"deny", "erin", "--force"}), HasSubstr("nothing is written"));
    EXPECT_THAT(refusal({"reset"}), HasSubstr("policy reset --force"));
    expectDone({"reset", "--force"});
    EXPECT_EQ(read(kManaged),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<plist version=\"1.0\">\n<dict/>\n</plist>\n");
  }
  ASSERT_EQ(chmod(machine.path("/etc/gatehall/managed").c_str(), 0775), 0);
  EXPECT_THAT(refusal({"deny", "erin"}), HasSubstr("can be written by others than its owner"));
  EXPECT_THAT(refusal({"reset", "--force"}, ExitStatus::HostFailure),
              HasSubstr("can be written by others than its owner"));
}

TEST_F(Policy, IsOnlyTriedInAWorld) {
  const auto words = [](Strings more) {
    Strings all{"policy", "set", "LocalUserLoginEnabled", "no"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  };
  const auto tried = runIn(household(), words({"--dry-run"}));
  EXPECT_EQ(tried.status, ExitStatus::Done) << tried.errors;
  EXPECT_THAT(tried.output, HasSubstr("bob   loses"));
  const auto written = runIn(household(), words({}));
  EXPECT_EQ(written.status, ExitStatus::WrongUsage);
  EXPECT_THAT(written.errors, HasSubstr("a world's file is never written: try --dry-run"));
  EXPECT_EQ(runIn(household(), words({"--dry-run", "--preferences"})).status,
            ExitStatus::WrongUsage);
  const auto shown = runIn(household(R"(, "managed": { "com.orvane.gatehall": {
      "DenyList": ["00000000-0000-4000-8000-000000001001"] } })"),
                           {"policy", "show"});
  EXPECT_EQ(shown.output, "# " + kOldManaged +
                              " (managed)\n"
                              "DenyList  00000000-0000-4000-8000-000000001001  bob\n");
}

TEST_F(Policy, OfAWorldMayHoldWhatItCanNotMean) {
  const auto list = household(R"(, "managed": { "com.orvane.gatehall": { "AllowList": [1,
      "00000000-0000-4000-8000-000000001001"] } })");
  for (const Strings& words : {Strings{"set", "AllowList", "ann"}, Strings{"remove", "bob"},
                               Strings{"reset", "AllowList"}}) {
    Strings all{"policy", "--dry-run", "--force"};
    all.insert(all.end(), words.begin(), words.end());
    const auto outcome = runIn(list, all);
    EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("AllowList  - bob, 00000000"));
  }
  const auto text = household(R"(, "managed": { "com.orvane.gatehall": { "AllowList": "x" } })");
  const auto outcome = runIn(text, {"policy", "allow", "bob", "--dry-run"});
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_THAT(outcome.errors, HasSubstr("it is no list"));
}

TEST_F(Policy, ThatWouldShutOutTheCallerIsRefused) {
  // Bob has the session in front, and runs it.
  auto world = household();
  world.replace(world.find("\"effectiveUserID\": 1000"), 23, "\"effectiveUserID\": 1001");
  const Strings words{"policy", "set", "LocalUserLoginEnabled", "no", "--dry-run"};
  const auto refused = runIn(world, words);
  EXPECT_EQ(refused.status, ExitStatus::No);
  EXPECT_THAT(refused.errors, HasSubstr("it shuts you out: bob could no longer log in"));
  auto forced = words;
  forced.push_back("--force");
  EXPECT_EQ(runIn(world, forced).status, ExitStatus::Done);
}

/// A world that bob runs, who is of a network directory.
std::string networkOfBob(std::string_view unreachable, std::string_view moreSections) {
  std::string text(R"({
    "process": { "effectiveUserID": 1001 },
    "directory": {
      "localNode": "local",
      "searchNode": { "name": "search", "covers": ["local", "unix", "ldap/a"], "unreachable": [)");
  text.append(unreachable).append(R"(] },
      "nodes": [ { "name": "local" }, { "name": "unix" }, { "name": "ldap/a", "records": [
        { "type": "Users", "attributes": {
            "RecordName": ["bob"], "UniqueID": ["1001"], "FullName": ["Bob"],
            "GUID": ["00000000-0000-4000-8000-000000001001"] } } ] } ] })");
  return text.append(moreSections).append("}");
}

TEST_F(Policy, ThatWouldShutOutACallerWhomNoDirectoryListsIsRefused) {
  // The directory has more accounts than it lists, and answers for one.
  const auto world = networkOfBob("", R"(, "faults": [
      { "operation": "queryResults", "raise": "platform", "where": { "node": "ldap/a" } } ])");
  const auto refused = runIn(world, {"policy", "deny", "*", "--dry-run"});
  EXPECT_EQ(refused.status, ExitStatus::No) << refused.output;
  EXPECT_THAT(refused.errors, HasSubstr("it shuts you out: bob could no longer log in"));
}

TEST_F(Policy, IsRefusedWhenThereIsNoTellingWhetherItShutsOutTheCaller) {
  const auto world = networkOfBob("\"ldap/a\"", "");
  const Strings words{"policy", "set", "StrictAllowList", "yes", "--dry-run"};
  const auto refused = runIn(world, words);
  EXPECT_EQ(refused.status, ExitStatus::HostFailure) << refused.output;
  EXPECT_THAT(refused.errors, HasSubstr("no telling whether it shuts you out"));
  auto forced = words;
  forced.push_back("--force");
  EXPECT_EQ(runIn(world, forced).status, ExitStatus::Done);
}

TEST_F(Policy, IsWrittenByThoseOnlyWhoMay) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can become somebody else.";
  ASSERT_EQ(chmod(machine.options.root.c_str(), 0755), 0);
  ASSERT_EQ(seteuid(65534), 0);
  const auto outcome = policy({"set", "Hide500Users", "yes"});
  const auto dry = policy({"set", "Hide500Users", "yes", "--dry-run"});
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_THAT(outcome.errors, HasSubstr("only root may write " + kManaged));
  EXPECT_EQ(dry.status, ExitStatus::Done) << dry.errors;
  EXPECT_EQ(read(kManaged), "absent");
}

}  // namespace
}  // namespace gatehall
