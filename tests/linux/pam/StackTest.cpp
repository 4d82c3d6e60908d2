#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"
#include "linux/pam/Stack.h"
#include "tests/linux/Machine.h"
#include "tests/linux/pam/Libpam.h"

namespace gatehall {

namespace {

using pam::readAccountStack;
using testing::ElementsAre;

class StackFiles : public testing::Test {
 protected:
  void door(const std::string& text) const { machine.write("/etc/pam.d/door", text); }
  pam::Stack stack() const { return readAccountStack(machine.options, "door"); }

  /// Why the stack can't be told; empty when it can.
  std::string unreadable() const {
    try {
      stack();
      return {};
    } catch (const PlatformException& failure) {
      return failure.what();
    }
  }

  Machine machine;
};

/// The arguments, each between angle brackets.
std::string inBrackets(const Strings& words) {
  std::string text;
  for (const auto& word : words) text.append("<").append(word).append(">");
  return text;
}

}  // namespace

TEST_F(StackFiles, GiveModulesTheArgumentsThatLibpamGivesThem) {
  for (const std::string words :
       {"a b\tc", "[a b] [c \\] d] e[f g]", "[h\\i] [k \\\\] l] m\\]n []o [] p", "[a b", "[a b\\]",
        "a\\ b \\c", "a#b", "[a # b]", "[a]b[c][d]", "a\rb\r", "a\vb\fc", "caf\u00E9", "]", "a]b",
        "services=login,sshd [hours=yes]", "a \\\n  b \\ \t\n# c\n\nd # e \\", "a\\\nb"}) {
    SCOPED_TRACE(words);
    door("account required " GATEHALL_PAM_MODULES "/pam_answering.so m0 " + words + "\n");
    const auto entries = stack().entries;
    ASSERT_EQ(entries.size(), 1U);
    auto arguments = entries[0].arguments;
    ASSERT_EQ(arguments.front(), "m0");
    arguments.erase(arguments.begin());
    if (!Libpam::isThere()) continue;
    EXPECT_EQ(inBrackets(arguments), Libpam::wordsFor(machine, "door", "m0"));
  }
}

TEST_F(StackFiles, AreToldWithFileAndLineOfEachModule) {
  door(
      "# a comment\n\nauth required pam_a.so\naccount required \\\n /lib/security/pam_b.so x\n"
      "@include more\n");
  machine.write("/etc/pam.d/more", "\n-account [success=1 default=bad] pam_c.so\n");
  const auto found = stack();
  ASSERT_EQ(found.entries.size(), 2U);
  EXPECT_EQ(found.file, "/etc/pam.d/door");
  EXPECT_EQ(found.entries[0].module, "pam_b.so");
  EXPECT_EQ(textOf(found.entries[0].place), "/etc/pam.d/door:4");
  EXPECT_EQ(found.entries[0].controlText, "required");
  EXPECT_EQ(found.entries[1].module, "pam_c.so");
  EXPECT_EQ(textOf(found.entries[1].place), "/etc/pam.d/more:2");
  EXPECT_EQ(found.entries[1].controlText, "success=1 default=bad");
}

TEST_F(StackFiles, ThatIncludeOneAnotherAreNotReadOnAndOn) {
  door("account include door\n");
  EXPECT_THAT(unreadable(), testing::HasSubstr("/etc/pam.d/door: too many files"));
  door("@include other\n");
  machine.write("/etc/pam.d/other", "@include door\n");
  EXPECT_THAT(unreadable(), testing::HasSubstr("too many files"));
}

TEST_F(StackFiles, ThatGrowByIncludingTwiceAreNotReadToTheirEnd) {
  door("account include more0\n");
  for (int level = 0; level < 30; ++level) {
    const auto next = "account include more" + std::to_string(level + 1) + "\n";
    machine.write("/etc/pam.d/more" + std::to_string(level), next + next);
  }
  machine.write("/etc/pam.d/more30", "account required pam_a.so\n");
  EXPECT_NE(unreadable(), "");
}

TEST_F(StackFiles, OfTooManyLinesAreNotRead) {
  std::string text;
  for (int line = 0; line < 1001; ++line) text += "account required pam_a.so\n";
  door(text);
  EXPECT_EQ(unreadable(), "/etc/pam.d/door:1001: the stack is too long");
}

TEST_F(StackFiles, WithALineThatNotEveryLibpamTakesWholeAreNotRead) {
  door("auth required pam_a.so " + std::string(2000, 'x') + "\n# " + std::string(2000, 'x') +
       "\naccount required pam_a.so\n");
  EXPECT_EQ(unreadable(), "") << "it has no part in the accounts";
  door("account required pam_a.so " + std::string(600, 'x') + "\\\n" + std::string(600, 'x') +
       "\n");
  EXPECT_EQ(unreadable(), "/etc/pam.d/door:1: the line is too long");
}

TEST_F(StackFiles, ThatAreNoTextFilesAreNotRead) {
  door(std::string("account required pam_a.so\0x\n", 28));
  EXPECT_EQ(unreadable(), "/etc/pam.d/door: it holds a NUL character");
  machine.remove("/etc/pam.d/door");
  std::filesystem::create_directory(machine.path("/etc/pam.d/door"));
  EXPECT_EQ(unreadable(), "/etc/pam.d/door: it is no regular file");
  machine.remove("/etc/pam.d/door");
  ASSERT_EQ(mkfifo(machine.path("/etc/pam.d/door").c_str(), 0644), 0);
  EXPECT_EQ(unreadable(), "/etc/pam.d/door: it is no regular file");
  machine.remove("/etc/pam.d/door");
  door(std::string(1048577, '#'));
  EXPECT_EQ(unreadable(), "/etc/pam.d/door: it is too long");
}

TEST_F(StackFiles, AreReadThroughLinks) {
  machine.write("/etc/pam.d/real", "account required pam_a.so\n");
  std::filesystem::create_symlink("real", machine.path("/etc/pam.d/door"));
  EXPECT_EQ(stack().entries.size(), 1U);
}

TEST_F(StackFiles, ThatOthersMayHaveWrittenAreTold) {
  door("account include more\n@include more\n");
  machine.write("/etc/pam.d/more", "account required pam_a.so\n");
  EXPECT_TRUE(stack().untrusted.empty());
  ASSERT_EQ(chmod(machine.path("/etc/pam.d/more").c_str(), 0646), 0);
  ASSERT_EQ(stack().untrusted.size(), 1U) << "once";
  EXPECT_EQ(stack().untrusted[0].file, "/etc/pam.d/more");
  EXPECT_EQ(stack().untrusted[0].reason, "can be written by others than its owner");
  if (geteuid() != 0) return;
  ASSERT_EQ(chmod(machine.path("/etc/pam.d/more").c_str(), 0644), 0);
  ASSERT_EQ(chown(machine.path("/etc/pam.d/more").c_str(), 1000, 1000), 0);
  EXPECT_EQ(stack().untrusted[0].reason, "belongs to user 1000");
}

TEST_F(StackFiles, ThatOthersMayHaveWrittenAreToldOfAServiceWithAnothersStackToo) {
  door("auth required pam_a.so\n");
  machine.write("/etc/pam.d/other", "account required pam_a.so\n");
  ASSERT_EQ(chmod(machine.path("/etc/pam.d/door").c_str(), 0666), 0);
  ASSERT_EQ(stack().untrusted.size(), 1U);
  EXPECT_EQ(stack().untrusted[0].file, "/etc/pam.d/door");
}

TEST_F(StackFiles, HaveAFailureWhereAnIncludedFileEndsThatIsNotWhole) {
  door("account include more\naccount required pam_b.so\n");
  machine.write("/etc/pam.d/more", "account required pam_a.so\naccount required pam_c.so \\\n");
  const auto entries = stack().entries;
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0].module, "pam_a.so");
  EXPECT_EQ(entries[1].kind, pam::Entry::Kind::Failure);
  EXPECT_EQ(textOf(entries[1].place), "/etc/pam.d/door:1");
  EXPECT_EQ(entries[2].module, "pam_b.so");
}

TEST_F(StackFiles, ThatLibpamCantUseAreTold) {
  const auto faultOf = [this](const std::string& text) {
    door(text);
    EXPECT_TRUE(stack().entries.empty());
    return stack().fault;
  };
  EXPECT_EQ(faultOf("\n@include more\n"), "/etc/pam.d/door:2: there is no file more to include");
  EXPECT_EQ(faultOf("account include\n"), "/etc/pam.d/door:1: an include without a file");
  EXPECT_EQ(faultOf("account required pam_a.so\naccount \\\n"),
            "/etc/pam.d/door:2: the file ends where a line goes on");
  EXPECT_EQ(faultOf("auth required pam_a.so\n"),
            "/etc/pam.d/door: there is no line about accounts");
  EXPECT_EQ(readAccountStack(machine.options, "window").fault,
            "PAM has no file for it, nor one for other services");
}

TEST_F(StackFiles, AreOfTheServiceInAnyCase) {
  door("account required pam_a.so\n");
  EXPECT_EQ(readAccountStack(machine.options, "Door").file, "/etc/pam.d/door");
}

TEST_F(StackFiles, AreListedByTheServicesTheyAreFor) {
  door("");
  machine.write("/etc/pam.d/window.dpkg-new~", "");
  machine.write("/usr/lib/pam.d/gate", "");
  machine.write("/usr/lib/pam.d/door", "");
  std::filesystem::create_directory(machine.path("/etc/pam.d/folder"));
  EXPECT_THAT(pam::servicesWithFile(machine.options), ElementsAre("door", "gate"));
  std::filesystem::remove_all(machine.path("/usr/lib/pam.d"));
  EXPECT_THAT(pam::servicesWithFile(machine.options), ElementsAre("door"));
}

TEST(ServiceNames, AreShortAndOfPlainCharacters) {
  for (const auto* name : {"login", "gdm-password", "a.b_c+d", "SSHD", "..."}) {
    EXPECT_TRUE(pam::isServiceName(name)) << name;
  }
  for (const std::string name : {"", ".", "..", "a/b", "a b", "caf\u00E9", "a\n"}) {
    EXPECT_FALSE(pam::isServiceName(name)) << name;
  }
  EXPECT_TRUE(pam::isServiceName(std::string(64, 'a')));
  EXPECT_FALSE(pam::isServiceName(std::string(65, 'a')));
}

}  // namespace gatehall
