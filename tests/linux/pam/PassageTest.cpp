#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "linux/pam/Passage.h"
#include "linux/pam/Stack.h"
#include "tests/linux/Machine.h"
#include "tests/linux/pam/Libpam.h"

namespace gatehall {

namespace {

using pam::Guard;

/// The text with the modules that tests have: "ask NAME" and "GUARD".
std::string withModules(std::string text) {
  const auto replace = [&](std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
      text.replace(at, from.size(), to);
    }
  };
  replace(" ask ", " " GATEHALL_PAM_MODULES "/pam_answering.so ");
  replace("GUARD", GATEHALL_PAM_MODULES "/pam_gatehall.so guard");
  return text;
}

bool isGuard(const pam::Entry& entry) { return entry.module == "pam_gatehall.so"; }

using Files = std::vector<std::pair<std::string, std::string>>;

struct Row {
  std::string what;
  Files files;  ///< in /etc/pam.d, or with a full path
  Guard guard = Guard::Guarded;
  std::string gap{};  ///< "FILE:LINE ANSWER"
};

class Stacks : public testing::Test {
 protected:
  void write(const Files& files) {
    for (const auto folder : {"/etc/pam.d", "/usr/lib/pam.d"}) {
      std::filesystem::remove_all(machine.path(folder));
      std::filesystem::create_directories(machine.path(folder));
    }
    for (const auto& [name, text] : files) {
      machine.write(name.starts_with('/') ? name : "/etc/pam.d/" + name, withModules(text));
    }
  }

  pam::Passage passage() {
    return passageThrough(pam::readAccountStack(machine.options, "door"), isGuard);
  }

  /// Holds the answer against what libpam does.
  void compare(const pam::Passage& passage, const Files& files) {
    Strings names;
    for (const std::string name : {"m0", "m1", "m2", "m3"}) {
      for (const auto& [file, text] : files) {
        if (text.find(name) == std::string::npos) continue;
        names.push_back(name);
        break;
      }
    }
    names.emplace_back("guard");
    const auto seen = Libpam::ask(machine, "door", names);
    EXPECT_EQ(passage.guard == Guard::Shut, !seen.isAnyAdmitted);
    EXPECT_EQ(passage.guard == Guard::Partly || passage.guard == Guard::NotGuarded,
              seen.isPassedBy || seen.isRefusalLost);
    if (!passage.gap) return;
    EXPECT_GT(passage.gap->entry.place.line, 0U) << "which line it is";
    EXPECT_TRUE(passage.gap->isPassedBy ? seen.isPassedBy : seen.isRefusalLost);
  }

  Machine machine;
};

std::string gapText(const pam::Passage& passage) {
  if (!passage.gap) return {};
  return textOf(passage.gap->entry.place) + " " + std::string(passage.gap->answer);
}

const std::vector<Row>& rows() {
  static const std::vector<Row> all{
      {"no guard", {{"door", "account required ask m0\n"}}, Guard::NotGuarded},
      {"required", {{"door", "account required GUARD\naccount required ask m0\n"}}},
      {"requisite, in any case", {{"door", "ACCOUNT Requisite GUARD\nAccount REQUIRED ask m0\n"}}},
      {"a module that isn't to be missed",
       {{"door", "-account required GUARD\naccount required ask m0\n"}}},
      {"behind one that has to admit",
       {{"door", "account required ask m0\naccount required GUARD"}}},
      {"behind sufficient",
       {{"door", "# first\naccount sufficient ask m0\naccount required GUARD\n"}},
       Guard::Partly,
       "/etc/pam.d/door:2 success"},
      {"behind a jump over it",
       {{"door",
         "account [success=1 default=ignore] ask m0\naccount required GUARD\n"
         "account required pam_permit.so\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 success"},
      {"behind a jump to it",
       {{"door",
         "account [success=1 default=ignore] ask m0\naccount requisite pam_deny.so\n"
         "account required GUARD\naccount required pam_permit.so\n"}}},
      {"behind a jump to it, and a password to be changed past it",
       {{"door",
         "account [success=1 new_authtok_reqd=done default=ignore] ask m0\n"
         "account requisite pam_deny.so\naccount required GUARD\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 new_authtok_reqd"},
      {"before all that",
       {{"door",
         "account required GUARD\n"
         "account [success=1 new_authtok_reqd=done default=ignore] ask m0\n"
         "account requisite pam_deny.so\naccount required pam_permit.so\n"}}},
      {"behind a jump out of the stack",
       {{"door", "account [success=5 default=ignore] ask m0\naccount required GUARD\n"}}},
      {"optional",
       {{"door", "account optional GUARD\naccount required ask m0\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 perm_denied"},
      {"sufficient",
       {{"door", "account sufficient GUARD\naccount required ask m0\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 perm_denied"},
      {"one answer that is ignored",
       {{"door",
         "account [success=ok ignore=ignore acct_expired=ignore default=bad] GUARD\n"
         "account required ask m0\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 acct_expired"},
      {"refused, then sufficient",
       {{"door", "account required GUARD\naccount sufficient ask m0\n"}}},
      {"refused, then forgotten",
       {{"door",
         "account required GUARD\naccount [success=reset default=ignore] ask m0\n"
         "account required ask m1\n"}},
       Guard::Partly,
       "/etc/pam.d/door:2 success"},
      {"included",
       {{"door", "auth include common\naccount include common\n"},
        {"common", "auth required ask m1\naccount required GUARD\naccount required ask m0\n"}}},
      {"included as Debian does",
       {{"door", "@include common\naccount required ask m0\n"},
        {"common", "account required GUARD\n"}}},
      {"done in what is included",
       {{"door", "account include common\naccount required GUARD\n"},
        {"common", "account sufficient ask m0\n"}},
       Guard::Partly,
       "/etc/pam.d/common:1 success"},
      {"done in a substack",
       {{"door", "account substack common\naccount required GUARD\n"},
        {"common", "account sufficient ask m0\naccount required ask m1\n"}}},
      {"jump over a substack",
       {{"door",
         "account [success=1 default=ignore] ask m0\naccount substack common\n"
         "account required ask m1\n"},
        {"common", "account required ask m2\naccount required GUARD\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 success"},
      {"done past it in its substack",
       {{"door", "account substack common\naccount required ask m1\n"},
        {"common", "account sufficient ask m0\naccount required GUARD\n"}},
       Guard::Partly,
       "/etc/pam.d/common:1 success"},
      {"refused, behind a demand for another password that isn't forgotten",
       {{"door", "account [success=ok default=bad] ask m0\naccount required GUARD\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 new_authtok_reqd"},
      {"a reset to the beginning of a substack",
       {{"door", "account required GUARD\naccount substack common\naccount required ask m1\n"},
        {"common", "account [success=reset default=ignore] ask m0\n"}}},
      {"another's file",
       {{"other", "account required GUARD\n"}, {"doors", "account required ask m0\n"}}},
      {"no line for accounts, so another's",
       {{"door", "auth required pam_permit.so\n"}, {"other", "account required GUARD\n"}}},
      {"only lines for accounts",
       {{"door", "account required ask m0\n"}, {"other", "account required GUARD\n"}},
       Guard::NotGuarded},
      {"the distribution's file", {{"/usr/lib/pam.d/door", "account required GUARD\n"}}},
      {"the administrator's before the distribution's",
       {{"door", "account required ask m0\n"}, {"/usr/lib/pam.d/door", "account required GUARD\n"}},
       Guard::NotGuarded},
      {"in a comment",
       {{"door", "account required ask m0 # \\\n# account required GUARD\n"}},
       Guard::NotGuarded},
      {"lines that go on, comments between them",
       {{"door",
         "account \\\n required \\ \n# or not\n\n  GUARD # guards \\\naccount required ask m0\n"}}},
      {"a comment doesn't go on", {{"door", "# \\\naccount required GUARD\n"}}},
      {"a carriage return is no blank",
       {{"door", "account required GUARD x\r\naccount required ask m0\n"}}},
      {"nobody is admitted",
       {{"door", "account required GUARD\naccount required pam_deny.so\n"}},
       Guard::Shut},
      {"a control that can't be read",
       {{"door", "account [success=okay] GUARD\naccount required ask m0\n"}},
       Guard::Shut},
      {"a control in capitals between brackets",
       {{"door", "account [SUCCESS=ok] GUARD\naccount required ask m0\n"}},
       Guard::Shut},
      {"a control without spaces",
       {{"door", "account [success=okdefault=bad]GUARD\naccount required ask m0\n"}}},
      {"a default that comes first", {{"door", "account [default=bad success=ok] GUARD\n"}}},
      {"a jump over nothing",
       {{"door", "account [success=0 default=bad] ask m0\naccount required GUARD\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 new_authtok_reqd"},
      {"a jump that comes around",
       {{"door",
         "account [success=4294967297 default=ignore] ask m0\naccount required GUARD\n"
         "account required ask m1\n"}},
       Guard::Partly,
       "/etc/pam.d/door:1 success"},
      {"a wrong type", {{"door", "acount required ask m0\naccount required GUARD\n"}}},
      {"a wrong type in what is included",
       {{"door", "account include common\naccount required GUARD\n"},
        {"common", "acount required ask m0\n"}},
       Guard::Shut},
      {"a line without a module",
       {{"door", "account required\naccount required GUARD\n"}},
       Guard::Shut},
      {"a line without a control", {{"door", "account\naccount required GUARD\n"}}, Guard::Shut},
      {"what is to be included isn't there",
       {{"door", "account include common\naccount required GUARD\n"}},
       Guard::Shut},
      {"what Debian would include isn't there",
       {{"door", "@include common\naccount required ask m0\n"}},
       Guard::Shut},
      {"only others would be included",
       {{"door", "auth include common\naccount required GUARD\n"}}},
      {"a substack that isn't there",
       {{"door", "account substack common\naccount required GUARD\n"}},
       Guard::Shut},
      {"an include of nothing",
       {{"door", "account include\naccount required GUARD\n"}},
       Guard::Shut},
      {"a file that ends where a line goes on",
       {{"door", "account required ask m0\naccount required GUARD\\\n"}},
       Guard::Shut},
      {"another's file that ends where a line goes on",
       {{"door", "account required GUARD\n"}, {"other", "account \\"}},
       Guard::Shut},
      {"an included file that ends where a line goes on",
       {{"door", "account include common\naccount required GUARD\n"},
        {"common", "account required ask m0\naccount required \\"}},
       Guard::Shut},
      {"no file", {}, Guard::Shut},
      {"no line", {{"door", "# nothing\n"}}, Guard::Shut},
  };
  return all;
}

}  // namespace

TEST_F(Stacks, GuardWhomTheyGuard) {
  for (const auto& row : rows()) {
    SCOPED_TRACE(row.what);
    write(row.files);
    const auto found = passage();
    EXPECT_EQ(found.guard, row.guard);
    EXPECT_EQ(gapText(found), row.gap);
  }
}

TEST_F(Stacks, AreTakenAsLibpamTakesThem) {
  if (!Libpam::isThere()) GTEST_SKIP() << "needs the right to bind folders";
  for (const auto& row : rows()) {
    SCOPED_TRACE(row.what);
    write(row.files);
    compare(passage(), row.files);
  }
}

TEST_F(Stacks, EndInSixteenSubstacksInOneAnotherAsInLibpam) {
  for (const int deepest : {15, 16}) {
    SCOPED_TRACE(deepest);
    Files files{{"door", "account substack s1\n"}};
    for (int level = 1; level < deepest; ++level) {
      files.emplace_back("s" + std::to_string(level),
                         "account substack s" + std::to_string(level + 1) + "\n");
    }
    files.emplace_back("s" + std::to_string(deepest), "account required GUARD\n");
    write(files);
    const auto found = passage();
    EXPECT_EQ(found.guard, deepest == 15 ? Guard::Guarded : Guard::Shut);
    if (Libpam::isThere()) compare(found, files);
  }
}

TEST_F(Stacks, OfAnyKindAreTakenAsLibpamTakesThem) {
  if (!Libpam::isThere()) GTEST_SKIP() << "needs the right to bind folders";
  std::minstd_rand random(1);
  const auto oneOf = [&random](const Strings& texts) { return texts[random() % texts.size()]; };
  const Strings results{"success", "new_authtok_reqd", "perm_denied", "ignore", "default"};
  const Strings actions{"ok", "done", "bad", "die", "ignore", "reset", "1", "2", "3"};
  const auto control = [&]() -> std::string {
    if (random() % 3 == 0) return oneOf({"required", "requisite", "sufficient", "optional"});
    std::string text("[");
    for (auto count = random() % 4; count > 0; --count) {
      text.append(oneOf(results)).append("=").append(oneOf(actions)).append(" ");
    }
    return text + "default=" + oneOf(actions) + "]";
  };
  for (int round = 0; round < 150; ++round) {
    Strings lines;
    for (const auto name : {"ask m0", "ask m1", "ask m2", "GUARD"}) {
      lines.push_back("account " + control() + " " + name + "\n");
    }
    std::shuffle(lines.begin(), lines.end(), random);
    lines.insert(lines.begin() + 1 + static_cast<int>(random() % 3),
                 "account " + oneOf({"include", "substack", "substack"}) + " inner\n");
    // The last lines go into a file of their own.
    const auto cut = lines.begin() + 2 + static_cast<int>(random() % 3);
    Files files{{"door", {}}, {"inner", {}}};
    const auto isInclude = [](const std::string& line) {
      return line.find(" inner\n") != std::string::npos;
    };
    for (auto line = lines.begin(); line != lines.end(); ++line) {
      const bool isOuter = line < cut || isInclude(*line);
      files[isOuter ? 0 : 1].second += *line;
    }
    files[0].second += "account " + control() + " pam_permit.so\n";
    SCOPED_TRACE(files[0].second + "inner:\n" + files[1].second);
    write(files);
    compare(passage(), files);
    if (HasFailure()) return;
  }
}

}  // namespace gatehall
