#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/CommandLine.h"
#include "ctl/verbs/Verbs.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(CommandLine, HelpListsEveryVerb) {
  const auto outcome = run({"--help"});
  EXPECT_EQ(outcome.status, ExitStatus::Done);
  for (const auto& verb : ctl::verbs()) {
    EXPECT_THAT(outcome.output, HasSubstr("\n  " + std::string(verb.name) + " "));
  }
}

TEST(CommandLine, EveryVerbHasHelpWithAnExampleThatItAccepts) {
  for (const auto& verb : ctl::verbs()) {
    const std::string name(verb.name);
    const auto outcome = run({"--help", name});
    EXPECT_EQ(outcome.status, ExitStatus::Done) << name;
    EXPECT_THAT(outcome.output, HasSubstr("Usage: gatehallctl [OPTIONS] " + name)) << name;
    EXPECT_THAT(outcome.output, HasSubstr("Example:\n  gatehallctl " + std::string(verb.example)))
        << name;

    std::istringstream words{std::string(verb.example)};
    Strings example{std::istream_iterator<std::string>(words), {}};
    for (auto& word : example) {
      if (word.starts_with("examples/")) word = GATEHALL_EXAMPLES + word.substr(8);
    }
    const auto answered = run(example);
    EXPECT_THAT(answered.status, testing::AnyOf(ExitStatus::Done, ExitStatus::No)) << name;
    EXPECT_THAT(answered.output, Not(IsEmpty())) << name;
    EXPECT_EQ(answered.errors, "") << name;
  }
}

TEST(CommandLine, HelpAfterAVerbIsThatVerbs) {
  for (const auto& verb : ctl::verbs()) {
    const std::string name(verb.name);
    const auto help = run({"--help", name}).output;
    EXPECT_THAT(help, HasSubstr("Usage: gatehallctl [OPTIONS] " + name));
    EXPECT_EQ(run({name, "--help"}).output, help);
    EXPECT_EQ(run({"--json", name, "-h"}).output, help);
  }
}

TEST(CommandLine, HelpAmongOthersAfterSwitchIsAWordOfTheTools) {
  for (const auto& words : {Strings{"switch", "--", "--help"}, Strings{"switch", "--help", "x"}}) {
    EXPECT_EQ(runIn(household(), words).output,
              "exit status             0\nasks the login service  nothing\n");
  }
}

TEST(CommandLine, HelpFits80Columns) {
  auto texts = run({"--help"}).output;
  for (const auto& verb : ctl::verbs()) texts += run({"--help", std::string(verb.name)}).output;
  std::istringstream lines(texts);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("  gatehallctl ")) continue;  // to be copied
    EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST(CommandLine, SaysItsVersion) {
  EXPECT_THAT(run({"--version"}).output, testing::MatchesRegex("gatehallctl [0-9.]+\n"));
}

struct Wrong {
  Strings words;
  std::string message;
};

class WrongCommandLine : public testing::TestWithParam<Wrong> {};

TEST_P(WrongCommandLine, EndsWithStatus2AndSaysWhatIsWrong) {
  auto outcome = runIn(household(), GetParam().words);
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.errors, AllOf(StartsWith("gatehallctl: "), HasSubstr(GetParam().message)));
}

INSTANTIATE_TEST_SUITE_P(
    Words, WrongCommandLine,
    testing::Values(Wrong{{}, "a verb is missing"}, Wrong{{"frob"}, "unknown verb 'frob'"},
                    Wrong{{"--help", "frob"}, "unknown verb 'frob'"},
                    Wrong{{"user-s"}, "unknown verb 'user-s'; did you mean 'users'?\n"},
                    Wrong{{"--frob", "prefs"}, "unknown option '--frob'\n"},
                    Wrong{{"prefs", "--frob"}, "unknown option '--frob'\n"},
                    Wrong{{"prefs", "--frob=1"}, "unknown option '--frob'\n"},
                    Wrong{{"-x", "prefs"}, "unknown option '-x'\n"},
                    Wrong{{"--jsno", "prefs"}, "unknown option '--jsno'; did you mean '--json'?\n"},
                    Wrong{{"prefs", "--jsno"}, "unknown option '--jsno'; did you mean '--json'?\n"},
                    Wrong{{"users", "--pic=a"}, "unknown option '--pic'\n"},
                    Wrong{{"users", "--with=3"}, "did you mean '--width'?\n"},
                    Wrong{{"prefs", "--json=yes"}, "'--json' takes no value\n"},
                    Wrong{{"users", "--picture"}, "'--picture' lacks its FILE\n"},
                    Wrong{{"--world=a", "prefs"}, "'--world' is given twice\n"},
                    Wrong{{"prefs", "now"}, "'now' is one word too many"},
                    Wrong{{"can-log-in"}, "NAME is missing"},
                    Wrong{{"can-log-in", "--all", "ann"}, "exclude each other"},
                    Wrong{{"user", ""}, "a name is empty"},
                    Wrong{{"user", "1000", "1001"}, "'1001' is one word too many"},
                    Wrong{{"expand"}, "NAME is missing"}));

TEST(CommandLine, SaysInJsonWhatIsWrongOnceJsonIsAskedFor) {
  const auto outcome = runIn(household(), {"--json", "prefs", "--frob"});
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_EQ(documentOf(outcome).dump(), R"({"errors":["unknown option '--frob'"]})");
  EXPECT_THAT(outcome.errors, StartsWith("gatehallctl: unknown option '--frob'\n"));
  EXPECT_THAT(run({"--json"}).output, HasSubstr("a verb is missing"));
  EXPECT_THAT(runIn(household(), {"expand", "--json"}).output, HasSubstr("NAME is missing"));
  EXPECT_EQ(runIn(household(), {"prefs", "--frob", "--json"}).output, "");
  EXPECT_EQ(runIn(household(), {"switch", "--json"}).output,
            "exit status             0\nasks the login service  nothing\n");
}

class WrongUserID : public testing::TestWithParam<std::string> {};

TEST_P(WrongUserID, IsRefusedByNameWithStatus2) {
  for (const auto* verb : {"can-log-in", "user"}) {
    const auto outcome = runIn(household(), {verb, "--", GetParam()});
    EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, HasSubstr("is not a user id"));
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, WrongUserID,
                         testing::Values("4294967295", "4294967296", "99999999999999999999"));

TEST(CommandLine, TakesWhatIsNoDecimalNumberForALoginName) {
  for (const auto* name : {"1001x", " 1001", "+1001", "-1", "0x3e9", "1001.0"}) {
    for (const auto* verb : {"can-log-in", "user"}) {
      EXPECT_EQ(runIn(household(), {verb, "--", name}).status, ExitStatus::No) << name;
    }
  }
}

TEST(CommandLine, TakesUserIDsUpToTheLargest) {
  EXPECT_EQ(runIn(household(), {"user", "4294967294"}).status, ExitStatus::No);
  EXPECT_EQ(runIn(household(), {"user", "0001001"}).status, ExitStatus::Done);
}

TEST(CommandLine, NamesTheWorldFileThatIsMissing) {
  const auto outcome = run({"--world", "/nonexistent/x.world.json", "prefs"});
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  EXPECT_THAT(outcome.errors, HasSubstr("/nonexistent/x.world.json"));
}

TEST(CommandLine, NamesTheKeyThatAWorldFileDoesNotKnow) {
  const auto outcome = runIn(R"({ "sessions": { "curent": 1 } })", {"--json", "prefs"});
  EXPECT_EQ(outcome.status, ExitStatus::WrongUsage);
  const auto error = documentOf(outcome)["errors"][0].get<std::string>();
  EXPECT_THAT(error, AllOf(HasSubstr("test.world.json:1:"), HasSubstr("curent")));
  EXPECT_EQ(outcome.errors, "gatehallctl: " + error + "\n");
}

TEST(CommandLine, TakesOptionsAfterAVerbAsWell) {
  const WorldFileOnDisk world(household());
  const auto before = run({"--world", world.path(), "--json", "--trace", "can-log-in", "1001"});
  const auto after = run({"can-log-in", "1001", "--trace", "--world=" + world.path(), "--json"});
  EXPECT_EQ(before.status, ExitStatus::Done) << before.errors;
  EXPECT_EQ(after.output, before.output);
}

TEST(CommandLine, LeavesEveryWordAfterSwitchToTheTool) {
  const auto outcome = runIn(household(), {"--json", "switch", "--trace", "--no-legend", "--world",
                                           "prefs", "--", "-switchToUserID", "1001"});
  EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
  const auto document = documentOf(outcome);
  EXPECT_FALSE(document.contains("calls"));
  ASSERT_EQ(document["loginService"].size(), 1U);
  EXPECT_EQ(document["loginService"][0]["attributes"]["RecordName"][0], "bob");
}

TEST(CommandLine, LeavesOutOneMarkThatSeparatesTheToolsWords) {
  const auto with = [](const Strings& words) {
    Strings all = {"--json", "switch"};
    all.insert(all.end(), words.begin(), words.end());
    return documentOf(runIn(household(), all))["loginService"].size();
  };
  EXPECT_EQ(with({"--", "-switchToUserID", "1001"}), 1U);
  // As the tool itself reads them: the second "--" is the user id, which is no number.
  EXPECT_EQ(with({"--", "-switchToUserID", "--", "1001"}), 0U);
}

TEST(CommandLine, LeavesTheLegendOutOnRequest) {
  EXPECT_EQ(runIn(household(), {"can-log-in", "1000", "--no-legend"}).output,
            "1000  ann  yes  administrator  -\n");
}

TEST(CommandLine, PrintsTablesThatFitWhereNobodySaysHowWideTheyMayBe) {
  const auto world = household("", std::string(90, 'B'));
  const auto cut = runIn(world, {"users", "--no-legend"});
  EXPECT_THAT(cut.output, AllOf(HasSubstr("1001  bob  BBB"), HasSubstr("B\u2026  local  local\n")));
  const auto whole = runIn(world, {"users", "--no-legend", "--wide"});
  EXPECT_THAT(whole.output, AllOf(HasSubstr(std::string(90, 'B') + "  local  local"),
                                  HasSubstr("  00000000-0000-4000-8000-000000001001\n")));
}

}  // namespace
}  // namespace gatehall
