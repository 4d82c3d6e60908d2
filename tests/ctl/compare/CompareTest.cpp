#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>

#include "tests/ctl/RunWorld.h"
#include "tests/linux/Machine.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using Json = nlohmann::ordered_json;
using testing::HasSubstr;

std::string plist(std::string_view entries) {
  return "<plist version=\"1.0\"><dict>" + std::string(entries) + "</dict></plist>";
}

const std::string kNoLocalLogin = plist("<key>LocalUserLoginEnabled</key><false/>");
const std::string kAnn = "ann: -, disappears; administrator, - -> administrator, -";
const std::string kBob =
    "bob: loses, disappears; local login enabled, default -> local login disabled, managed";
/// Of a world that is under it already.
const std::string kManagedSection =
    R"(, "managed": { "com.orvane.gatehall": { "LocalUserLoginEnabled": false } })";

/// "ann: loses, disappears; administrator, default -> no service access, -" for each who differs.
Strings told(const Json& machine) {
  const auto word = [](const Json& value) {
    return value.is_null() ? std::string("-") : value.get<std::string>();
  };
  Strings lines;
  for (const auto& each : machine.at("differences")) {
    const auto standing = [&](const char* when) {
      const auto& at = each.at(when);
      return word(at.at("rule")) + ", " + word(at.at("source"));
    };
    lines.push_back(word(each.at("name")) + ": " + word(each.at("login")) + ", " +
                    word(each.at("list")) + "; " + standing("before") + " -> " + standing("after"));
  }
  return lines;
}

class Compare : public testing::Test {
 protected:
  std::string write(const std::string& name, const std::string& content) {
    folder.write("/" + name, content);
    return folder.path("/" + name);
  }
  /// Runs it with the words, and keeps what it answers.
  Json compare(Strings words, ExitStatus expected) {
    words.insert(words.begin(), {"--json", "compare"});
    outcome = run(words);
    EXPECT_EQ(outcome.status, expected) << outcome.errors << outcome.output;
    return outcome.output.empty() ? Json() : documentOf(outcome);
  }

  Machine folder;
  ctl::Outcome outcome;
};

TEST_F(Compare, FindsNoDifferenceBetweenAMachineAndItself) {
  const auto world = write("a.world.json", household());
  const auto answer = compare({world, world}, ExitStatus::Done);
  EXPECT_EQ(answer["differing"], 0);
  EXPECT_EQ(answer["machines"][0]["accounts"], 2);
  EXPECT_THAT(answer["machines"][0]["differences"], testing::IsEmpty());
  EXPECT_EQ(run({"compare", world, world}).output, "0 of 2 accounts differ\n");
}

TEST_F(Compare, ShowsWhoLosesLoginUnderAManagedFile) {
  const auto world = write("a.world.json", household());
  const auto managed = write("new.plist", kNoLocalLogin);
  const auto answer = compare({"--with-managed", managed, world}, ExitStatus::No);
  EXPECT_EQ(answer["differing"], 1);
  EXPECT_THAT(told(answer["machines"][0]), testing::ElementsAre(kAnn, kBob));
  EXPECT_EQ(answer["machines"][0]["administrators"], Json({{"before", 1}, {"after", 1}}));
  const auto text = run({"compare", "--with-managed", managed, world}).output;
  EXPECT_EQ(text,
            "USER  LOGIN  LIST        BEFORE               AFTER\n"
            "ann   -      disappears  administrator        administrator\n"
            "bob   loses  disappears  local login enabled  local login disabled\n\n"
            "2 of 2 accounts differ: 1 may no longer, 2 no longer listed\n");
}

TEST_F(Compare, TakesTheMachineOfTheCommandLineForADot) {
  const auto world = write("a.world.json", household());
  const auto managed = write("new.plist", kNoLocalLogin);
  for (const Strings& operands : {Strings(), Strings{"."}}) {
    Strings words{"--json", "--world", world, "compare", "--with-managed", managed};
    words.insert(words.end(), operands.begin(), operands.end());
    const auto answer = documentOf(run(words));
    EXPECT_EQ(answer["machines"][0]["before"], ".");
    EXPECT_THAT(told(answer["machines"][0]), testing::ElementsAre(kAnn, kBob));
  }
  const auto other = write("b.world.json", household(kManagedSection));
  const auto answer = documentOf(run({"--json", "--world", world, "compare", other}));
  EXPECT_EQ(answer["machines"][0]["before"], ".");
  EXPECT_EQ(answer["machines"][0]["after"], other);
  EXPECT_THAT(told(answer["machines"][0]), testing::ElementsAre(kAnn, kBob));
}

TEST_F(Compare, ShowsWhomTheListGainsAndLoses) {
  const auto world = write("a.world.json", household());
  const auto hidden =
      write("new.plist", plist("<key>HiddenUsersList</key><array><string>bob</string></array>"));
  EXPECT_THAT(told(compare({"--with-managed", hidden, world}, ExitStatus::No)["machines"][0]),
              testing::ElementsAre("bob: -, disappears; local login enabled, default -> "
                                   "local login enabled, default"));
  const auto without =
      write("b.world.json",
            household(R"(, "managed": { "com.orvane.gatehall": { "HiddenUsersList": ["bob"] } })"));
  EXPECT_THAT(told(compare({without, world}, ExitStatus::No)["machines"][0]),
              testing::ElementsAre("bob: -, appears; local login enabled, default -> "
                                   "local login enabled, default"));
}

TEST_F(Compare, ShowsAnotherSourceOfTheSameRule) {
  const auto world = write("a.world.json", household());
  const auto same = write("new.plist", plist("<key>LocalUserLoginEnabled</key><true/>"));
  EXPECT_THAT(told(compare({"--with-managed", same, world}, ExitStatus::No)["machines"][0]),
              testing::ElementsAre("bob: rule, -; local login enabled, default -> "
                                   "local login enabled, managed"));
  EXPECT_THAT(run({"compare", "--with-managed", same, world}).output,
              HasSubstr("bob   rule   -     local login enabled (default)  "
                        "local login enabled (managed)\n"));
}

TEST_F(Compare, GivesAGroupOtherMembers) {
  const auto world = write("a.world.json", household());
  const auto onlyAnn = compare({"--with-group", "gatehall-access=ann", world}, ExitStatus::No);
  const auto lines = told(onlyAnn["machines"][0]);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(lines[0], testing::StartsWith("bob: loses, "));
  const auto nobody = compare({"--with-group", "gatehall-access=", world}, ExitStatus::No);
  EXPECT_EQ(nobody["machines"][0]["differences"].size(), 2U);
  EXPECT_EQ(nobody["machines"][0]["administrators"]["after"], 0);
  EXPECT_THAT(outcome.errors, HasSubstr("nobody may log in as an administrator any more"));
  EXPECT_EQ(
      compare({"--with-group", "gatehall-access=bob,ann", world}, ExitStatus::Done)["differing"],
      0);
  EXPECT_EQ(outcome.errors, "");
  compare({"--with-group", "gatehall-access=bbo,ann", world}, ExitStatus::No);
  EXPECT_THAT(outcome.errors, HasSubstr("--with-group: nobody has the login name 'bbo'\n"));
  // A group that is there, and another one beside it.
  const auto managed = write("new.plist", kNoLocalLogin);
  const auto both = compare(
      {"--with-group", "admin=bob", "--with-group", "staff=ann", "--with-managed", managed, world},
      ExitStatus::No);
  EXPECT_THAT(told(both["machines"][0]),
              testing::ElementsAre(
                  "ann: loses, disappears; administrator, - -> local login disabled, managed",
                  "bob: rule, disappears; local login enabled, default -> administrator, -"));
}

TEST_F(Compare, MatchesAccountsByGUIDElseByNodeAndName) {
  const auto before = write("a.world.json", household());
  auto text = household();
  // Bob is another one with the same name; ann goes by another name.
  text.replace(text.find("000000001001"), 12, "00000000FFFF");
  text.replace(text.find("\"RecordName\": [\"ann\"]"), 21, "\"RecordName\": [\"anna\"]");
  text.replace(text.find("\"GroupMembership\": [\"ann\"]"), 26, "\"GroupMembership\": [\"anna\"]");
  const auto after = write("b.world.json", text);
  EXPECT_EQ(compare({before, after}, ExitStatus::Done)["machines"][0]["accounts"], 2);
}

TEST_F(Compare, SaysWhoIsOnOneOfTheMachinesOnly) {
  const auto with = write("a.world.json", household());
  auto text = household();
  const auto begin = text.find("{ \"type\": \"Users\", \"password\": \"\"");
  text.erase(begin, text.find("{ \"type\": \"Groups\"") - begin);
  const auto without = write("b.world.json", text);
  EXPECT_THAT(told(compare({with, without}, ExitStatus::No)["machines"][0]),
              testing::ElementsAre("bob: loses, disappears; local login enabled, default -> "
                                   "no such account, -"));
  EXPECT_THAT(told(compare({without, with}, ExitStatus::No)["machines"][0]),
              testing::ElementsAre("bob: gains, appears; no such account, - -> "
                                   "local login enabled, default"));
}

TEST_F(Compare, AnswersForManyMachinesInTheirOrder) {
  const auto managed = write("new.plist", kNoLocalLogin);
  Strings words{"--with-managed", managed};
  for (int number = 0; number < 20; ++number) {
    words.push_back(write(std::to_string(number) + ".world.json",
                          household(number % 4 == 0 ? kManagedSection : std::string())));
  }
  const auto answer = compare(words, ExitStatus::No);
  ASSERT_EQ(answer["machines"].size(), 20U);
  EXPECT_EQ(answer["differing"], 15);
  for (std::size_t number = 0; number < 20; ++number) {
    EXPECT_EQ(answer["machines"][number]["after"], words[number + 2]);
    EXPECT_EQ(answer["machines"][number]["differences"].size(), number % 4 == 0 ? 0U : 2U);
  }
  words.insert(words.begin(), "compare");
  const auto text = run(words).output;
  EXPECT_THAT(text, HasSubstr("\n" + words[4] +
                              ": 2 of 2 accounts differ: 1 may no longer, 2 no longer listed\n"
                              "  ann  "));
  EXPECT_THAT(text, testing::EndsWith("\n\n15 of 20 machines differ\n"));
}

TEST_F(Compare, NamesTheMachineThatCanNotBeCompared) {
  const auto good = write("a.world.json", household());
  const auto bad = write("b.world.json", "{ \"directory\": 5 }");
  const auto managed = write("new.plist", kNoLocalLogin);
  const auto answer = compare({"--with-managed", managed, good, bad, good}, ExitStatus::WrongUsage);
  EXPECT_EQ(answer["machines"][0]["differences"].size(), 2U);
  EXPECT_THAT(answer["machines"][1]["error"].get<std::string>(), HasSubstr("b.world.json"));
  EXPECT_EQ(answer["machines"][2]["differences"].size(), 2U);
  EXPECT_THAT(outcome.errors, HasSubstr("b.world.json"));
  // A host that fails is another matter than a file that is wrong.
  const auto failing = write("c.world.json", household(R"(, "faults": [
      { "operation": "readPropertyList", "raise": "platform" } ])"));
  compare({good, failing}, ExitStatus::HostFailure);
  EXPECT_FALSE(outcome.errors.empty());
}

TEST_F(Compare, LosesNobodyToADirectoryThatIsAway) {
  const auto world = [](const std::string& unreachable) {
    return R"({ "directory": { "localNode": "local",
        "searchNode": { "name": "search", "covers": ["local", "unix", "ldap/a"], "unreachable": [)" +
           unreachable + R"(] },
        "nodes": [ { "name": "local" }, { "name": "unix" }, { "name": "ldap/a", "records": [
          { "type": "Users", "attributes": { "RecordName": ["dana"], "UniqueID": ["2000"],
              "GUID": ["00000000-0000-4000-8000-000000002000"] } } ] } ] } })";
  };
  const auto there = write("a.world.json", world(""));
  const auto away = write("b.world.json", world("\"ldap/a\""));
  const auto lost = compare({there, away}, ExitStatus::HostFailure);
  EXPECT_THAT(told(lost["machines"][0]),
              testing::ElementsAre("dana: -, -; no allow list, default -> "
                                   "directory away, -"));
  EXPECT_EQ(lost["machines"][0]["undecidable"], 1);
  EXPECT_THAT(outcome.errors, HasSubstr("there is no telling of 1 account"));
  const auto found = compare({away, there}, ExitStatus::HostFailure);
  EXPECT_THAT(told(found["machines"][0]),
              testing::ElementsAre(testing::StartsWith("dana: -, -; directory away, - -> ")));
}

TEST_F(Compare, NamesTheOneOfTwoMachinesThatFails) {
  const Machine broken;
  broken.write("/etc/passwd", "ann:x:1000:50:Ann:/home/ann:/bin/bash\n");
  std::filesystem::create_symlink("gatehall", broken.path("/etc/gatehall"));
  const auto good = write("a.world.json", household());
  compare({broken.options.root, good}, ExitStatus::HostFailure);
  EXPECT_THAT(outcome.errors, HasSubstr(broken.options.root + ": "));
  compare({good, broken.options.root}, ExitStatus::HostFailure);
  EXPECT_THAT(outcome.errors, HasSubstr(broken.options.root + ": "));
}

TEST_F(Compare, RefusesAPipeWhichCantBeReadTwice) {
  const auto pipe = folder.path("/pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const auto world = write("a.world.json", household());
  compare({world, pipe}, ExitStatus::WrongUsage);
  EXPECT_THAT(outcome.errors, HasSubstr(pipe + ": it is no regular file"));
}

TEST_F(Compare, LooksAtMachinesUnderFolders) {
  Machine before;
  before.write("/etc/passwd", "ann:x:1000:50:Ann:/home/ann:/bin/bash\n");
  before.write("/etc/group", "staff:x:50:\n");
  before.write("/etc/shadow", "ann:$6$abc:19000:0:99999:7:::\n");
  Machine after;
  after.write("/etc/passwd", "ann:x:1000:50:Ann:/home/ann:/bin/bash\n");
  after.write("/etc/group", "staff:x:50:\n");
  after.write("/etc/shadow", "ann:$6$abc:19000:0:99999:7:::\n");
  after.write("/etc/gatehall/managed/com.orvane.gatehall.plist", kNoLocalLogin);
  const auto expected =
      "ann: loses, disappears; local login enabled, default -> "
      "local login disabled, managed";
  EXPECT_THAT(
      told(compare({before.options.root, after.options.root}, ExitStatus::No)["machines"][0]),
      testing::ElementsAre(expected));
  const auto managed = write("new.plist", kNoLocalLogin);
  EXPECT_THAT(told(compare({"--with-managed", managed, before.options.root},
                           ExitStatus::No)["machines"][0]),
              testing::ElementsAre(expected));
  compare({"--with-managed", managed, after.options.root}, ExitStatus::Done);
  EXPECT_THAT(told(compare({"--with-group", "gatehall-access=", before.options.root},
                           ExitStatus::No)["machines"][0]),
              testing::ElementsAre(testing::StartsWith("ann: loses, ")));
  compare({"--with-group", "gatehall-access=ann", before.options.root}, ExitStatus::Done);
  // Of such a group and others a machine's administrators are made.
  compare({"--with-group", "sudo=ann", before.options.root}, ExitStatus::WrongUsage);
  EXPECT_THAT(outcome.errors, HasSubstr("'sudo' is one of the groups that make administrators"));
  EXPECT_THAT(told(compare({"--with-group", "admin=ann", before.options.root},
                           ExitStatus::No)["machines"][0]),
              testing::ElementsAre("ann: rule, -; local login enabled, default -> "
                                   "administrator, -"));
}

TEST_F(Compare, RefusesAManagedFileThatSaysWhatItCanNotMean) {
  const auto world = write("a.world.json", household());
  const auto file =
      write("new.plist", "<plist>\n<dict>\n<key>DenyList</key><true/></dict></plist>");
  EXPECT_EQ(run({"compare", "--with-managed", file, world}).status, ExitStatus::WrongUsage);
  EXPECT_THAT(run({"compare", "--with-managed", file, world}).errors,
              HasSubstr(file + ":3: DenyList: it is no list"));
  EXPECT_THAT(run({"compare", "--with-managed", file + "x", world}).errors,
              HasSubstr("new.plistx: No such file or directory"));
  write("new.plist", "no list");
  EXPECT_THAT(run({"compare", "--with-managed", file, world}).errors,
              HasSubstr(file + ": line 1: no <plist> where it belongs"));
  write("new.plist", plist("<key>Colour</key><true/>"));
  EXPECT_THAT(run({"compare", "--with-managed", file, world}).errors,
              HasSubstr(file + ":1: Colour: it is no setting; did you mean "));
}

TEST_F(Compare, RefusesWordsThatMeanNoMachinesAndNoGroup) {
  const auto world = write("a.world.json", household());
  const auto refusal = [](Strings words) {
    words.insert(words.begin(), "compare");
    const auto refused = run(words);
    EXPECT_EQ(refused.status, ExitStatus::WrongUsage);
    return refused.errors;
  };
  EXPECT_THAT(refusal({}), HasSubstr("MACHINE is missing"));
  EXPECT_THAT(refusal({world, world, world}), HasSubstr("is one word too many"));
  EXPECT_THAT(refusal({world, world + "x"}), HasSubstr("is no world file and no folder"));
  for (const auto* group : {"ann", "=ann", "a=,", "a=ann,,bob", "a=ann,"}) {
    EXPECT_THAT(refusal({"--with-group", group, world}), HasSubstr("--with-group: '"));
  }
}

TEST_F(Compare, ShowsHowFarItIsOnATerminal) {
  Strings shown;
  const auto print = [](std::string_view) { return true; };
  const ctl::Screen screen{.write = print,
                           .size = [] { return std::nullopt; },
                           .progress = [&](std::string_view line) { shown.emplace_back(line); }};
  const auto world = write("a.world.json", household());
  ctl::runCommandLine({"compare", "--with-group", "a=", world, world, world}, screen);
  EXPECT_THAT(shown,
              testing::ElementsAre("1 of 3 machines", "2 of 3 machines", "3 of 3 machines", ""));
}

}  // namespace
}  // namespace gatehall
