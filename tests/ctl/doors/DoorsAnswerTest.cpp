#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ctl/doors/DoorsAnswer.h"
#include "ctl/print/Table.h"
#include "gatehall/base/PlatformException.h"
#include "tests/ctl/RunWorld.h"
#include "tests/linux/Machine.h"

namespace gatehall::ctl {

namespace {

/// A machine with PAM's files in it, Debian's own way.
class Doors : public testing::Test {
 protected:
  static constexpr std::string_view kModule = "/usr/lib/x86_64-linux-gnu/security/pam_gatehall.so";

  Doors() { machine.write(kModule, ""); }

  void pam(const std::string& name, const std::string& text) const {
    machine.write("/etc/pam.d/" + name, text);
  }

  void commonAccount(const std::string& guard) const {
    pam("common-account",
        guard +
            "account [success=1 new_authtok_reqd=done default=ignore] pam_unix.so\n"
            "account requisite pam_deny.so\n"
            "account required pam_permit.so\n");
    pam("other", "@include common-account\n");
  }

  /// The whole screen.
  std::string screen() {
    answer = answerAboutDoors(machine.options);
    std::string text;
    for (const auto& table : answer.tables) {
      if (!text.empty()) text += '\n';
      text += tableText(table, {});
    }
    return text;
  }

  /// The findings' sentences, "PLACE: SENTENCE".
  Strings findings() {
    answer = answerAboutDoors(machine.options);
    Strings texts;
    for (const auto& each : answer.json["findings"]) {
      auto text = each["severity"].get<std::string>() + ": ";
      if (!each["file"].is_null()) text += each["file"].get<std::string>();
      if (!each["line"].is_null()) text += ":" + std::to_string(each["line"].get<int>());
      texts.push_back(text + ": " + each["text"].get<std::string>());
    }
    return texts;
  }

  Machine machine;
  Answer answer;
};

}  // namespace

TEST_F(Doors, AreThoseOfTheUsualServicesThatHaveAFile) {
  commonAccount("account required pam_gatehall.so\n");
  for (const auto* service : {"login", "sshd", "sudo", "cron", "lightdm-greeter"}) {
    pam(service, "account required pam_nologin.so\n@include common-account\n");
  }
  machine.write("/usr/lib/pam.d/sddm", "@include common-account\n");
  EXPECT_EQ(screen(),
            "DOOR   GUARDED  BY\n"
            "login  yes      /etc/pam.d/common-account:1\n"
            "sddm   yes      /etc/pam.d/common-account:1\n"
            "sshd   yes      /etc/pam.d/common-account:1\n"
            "\n"
            "3 of 3 doors guarded\n"
            "\n"
            "nothing is wrong\n");
  EXPECT_EQ(answer.status, ExitStatus::Done);
  EXPECT_EQ(answer.json["doors"][1], Json::parse(R"({
      "service": "sddm", "guarded": "yes", "file": "/usr/lib/pam.d/sddm",
      "modules": [{"file": "/etc/pam.d/common-account", "line": 1, "arguments": []}]})"));
}

TEST_F(Doors, ThatAreNotGuardedAreWarnings) {
  commonAccount("");
  pam("login", "@include common-account\n");
  pam("sshd", "account sufficient pam_localuser.so\naccount required pam_gatehall.so hours=yes\n");
  pam("xdm", "account required pam_deny.so\n");
  EXPECT_EQ(screen(),
            "DOOR   GUARDED            BY\n"
            "login  no                 -\n"
            "sshd   not for everybody  /etc/pam.d/sshd:2 hours=yes\n"
            "xdm    shut               -\n"
            "\n"
            "0 of 3 doors guarded\n"
            "\n"
            "SEVERITY  FINDING\n"
            "warning   login isn't guarded: its account stack has no pam_gatehall.so\n"
            "            /etc/pam.d/login\n"
            "            Run \"pam-auth-update --enable gatehall\" (package libpam-gatehall).\n"
            "warning   sshd isn't guarded for everybody: pam_localuser.so (success) passes it\n"
            "          by\n"
            "            /etc/pam.d/sshd:1\n"
            "            Put pam_gatehall.so in front of that line.\n"
            "\n"
            "0 errors, 2 warnings\n");
  EXPECT_EQ(answer.status, ExitStatus::No);
}

TEST_F(Doors, AreWhatTheModulesArgumentsName) {
  commonAccount("account required pam_gatehall.so services=login,su-l,xterm\n");
  for (const auto* service : {"login", "sshd", "su-l", "su"}) {
    pam(service, "@include common-account\n");
  }
  EXPECT_EQ(screen(),
            "DOOR   GUARDED  BY\n"
            "login  yes      /etc/pam.d/common-account:1 services=login,su-l,xterm\n"
            "sshd   no       -\n"
            "su-l   yes      /etc/pam.d/common-account:1 services=login,su-l,xterm\n"
            "xterm  yes      /etc/pam.d/common-account:1 services=login,su-l,xterm\n"
            "\n"
            "3 of 4 doors guarded\n"
            "\n"
            "SEVERITY  FINDING\n"
            "warning   sshd isn't guarded: pam_gatehall.so leaves it out\n"
            "            /etc/pam.d/common-account:1\n"
            "            Name it in services= there, if the login rules are to hold at it.\n"
            "warning   services= names xterm, which has no file\n"
            "            /etc/pam.d/common-account:1\n"
            "            Correct the name, or leave it out.\n"
            "\n"
            "0 errors, 2 warnings\n");
}

TEST_F(Doors, WhereARefusalDoesNotCountAreWarnings) {
  commonAccount("account optional pam_gatehall.so\n");
  pam("login", "@include common-account\n");
  pam("sshd",
      "account required pam_gatehall.so\naccount [success=reset default=bad] pam_a.so\n"
      "account required pam_permit.so\n");
  EXPECT_THAT(findings(),
              testing::ElementsAre("warning: /etc/pam.d/common-account:1: login isn't guarded for "
                                   "everybody: a refusal (perm_denied) is ignored",
                                   "warning: /etc/pam.d/sshd:2: sshd isn't guarded for everybody: "
                                   "pam_a.so (success) outdoes it"));
}

TEST_F(Doors, ThatAreNotGuardedForTheSameReasonAreOneWarning) {
  commonAccount("");
  for (const auto* service : {"login", "sshd", "xdm"}) pam(service, "@include common-account\n");
  EXPECT_THAT(findings(),
              testing::ElementsAre("warning: /etc/pam.d/login: login, sshd and xdm aren't guarded: "
                                   "their account stacks have no pam_gatehall.so"));
  commonAccount("account optional pam_gatehall.so\n");
  EXPECT_THAT(findings(),
              testing::ElementsAre("warning: /etc/pam.d/common-account:1: login, sshd and xdm "
                                   "aren't guarded for everybody: a refusal (perm_denied) is "
                                   "ignored"));
  commonAccount("account required pam_gatehall.so services=su\n");
  pam("su", "@include common-account\n");
  EXPECT_THAT(findings(),
              testing::ElementsAre("warning: /etc/pam.d/common-account:1: login, sshd and xdm "
                                   "aren't guarded: pam_gatehall.so leaves them out"));
}

TEST_F(Doors, WhoseFilesAreBrokenAreErrors) {
  commonAccount("account required pam_gatehall.so hours=maybe\n");
  pam("login", "@include common-accounts\n");
  pam("sshd", "@include common-account\n");
  std::filesystem::create_directories(machine.path("/etc/pam.d/folder"));
  pam("xdm", "account include folder\n");
  EXPECT_THAT(
      findings(),
      testing::ElementsAre(
          "error: : login lets nobody in: /etc/pam.d/login:1: there is no file common-accounts to "
          "include",
          "error: : xdm can't be told of: /etc/pam.d/folder: it is no regular file",
          "error: /etc/pam.d/common-account:1: \"hours=maybe\" is neither \"yes\" nor \"no\""));
  EXPECT_EQ(answer.status, ExitStatus::WrongUsage);
}

TEST_F(Doors, WhoseFilesOthersCanWriteAreErrorsTheFileOnce) {
  commonAccount("account required pam_gatehall.so\n");
  pam("login", "@include common-account\n");
  pam("sshd", "@include common-account\n");
  ASSERT_EQ(chmod(machine.path("/etc/pam.d/common-account").c_str(), 0664), 0);
  EXPECT_THAT(findings(),
              testing::ElementsAre("error: /etc/pam.d/common-account: the file can be written by "
                                   "others than its owner, who so decide who gets in"));
  EXPECT_EQ(answer.status, ExitStatus::WrongUsage);
}

TEST_F(Doors, AreToldOfAFolderThatOthersCanWrite) {
  commonAccount("account required pam_gatehall.so\n");
  pam("login", "@include common-account\n");
  ASSERT_EQ(chmod(machine.path("/etc/pam.d").c_str(), 0777), 0);
  EXPECT_THAT(findings(), testing::Contains(testing::HasSubstr(
                              "is in /etc/pam.d, which can be written by others than its owner")));
  EXPECT_EQ(answer.status, ExitStatus::WrongUsage);
}

TEST_F(Doors, AreNotGuardedByAModuleThatIsNotThere) {
  pam("login", "account required /nowhere/pam_gatehall.so\n");
  EXPECT_THAT(findings(),
              testing::Contains(testing::HasSubstr("no module /nowhere/pam_gatehall.so")));
  machine.remove(kModule);
  pam("login", "account required pam_gatehall.so\n");
  EXPECT_THAT(findings(), testing::Contains(testing::HasSubstr("no module pam_gatehall.so")));
  EXPECT_THAT(screen(), testing::Not(testing::HasSubstr("1 of 1 door guarded")));
}

TEST(CheckOfAWorld, HasNoDoors) {
  const auto outcome = runIn("{}", {"--json", "check"});
  EXPECT_EQ(documentOf(outcome), Json::parse(R"({"doors": [], "findings": []})"));
  EXPECT_EQ(outcome.status, ExitStatus::Done);
}

TEST_F(Doors, AreNotToldOfWhereTheFolderIsUnreadable) {
  machine.write("/etc/pam.d", "no folder");
  EXPECT_THROW(answerAboutDoors(machine.options), PlatformException);
}

}  // namespace gatehall::ctl
