#include "ctl/check/DirectoryFindings.h"
#include "linux/records/FaultyNode.h"
#include "tests/ctl/check/CheckedMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class DirectoryFindings : public CheckedMachine {
 protected:
  static constexpr std::string_view kFile = "/etc/gatehall/directory.toml";

  static constexpr const char* kBinding =
      "bind-dn = \"cn=reader,dc=example,dc=org\"\nbind-password-file = \"/etc/gatehall/secret\"\n";

  /// A directory at whose address nobody is, and which doesn't matter while it is away.
  static std::string directory(const std::string& more) {
    return "[[directory]]\nname = \"school\"\nservers = [\"ldap://127.0.0.1:1\"]\n"
           "base = \"dc=example,dc=org\"\nwhen-away = \"ignore\"\n" +
           more;
  }

  Strings findingsBut(std::string_view text) {
    auto all = findings();
    std::erase_if(all, [text](const auto& each) { return each.find(text) != std::string::npos; });
    return all;
  }
};

/// A directory that answers, after a time.
class AnsweringNode final : public NetworkNode {
 public:
  explicit AnsweringNode(double seconds) : mRoundTrip(seconds) {}
  std::optional<std::string> whyUnreachable() override { return std::nullopt; }
  Reached reach() override { return {"ldap://server", mRoundTrip}; }
  std::optional<std::string> nodeName() override { return "ldap/school"; }
  std::optional<Strings> subnodeNames() override { return std::nullopt; }
  std::optional<Strings> unreachableSubnodeNames() override { return std::nullopt; }
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view, std::string_view,
                                                       const Strings&) override {
    return nullptr;
  }
  std::shared_ptr<DirectoryQuery> query(QueryDescription) override { return nullptr; }

 private:
  std::chrono::duration<double> mRoundTrip;
};

TEST_F(DirectoryFindings, AreSettingsThatAreNone) {
  machine.write(kFile,
                "[local]\nadmin-group = [\"sudo\"]\n\n"
                "[[directory]]\nname = \"school\"\nserver = 1\n");
  EXPECT_THAT(findings(),
              testing::IsSupersetOf({
                  StartsWith("error /etc/gatehall/directory.toml:2 local.admin-group is "
                             "not a setting; did you mean admin-groups?"),
                  StartsWith("error /etc/gatehall/directory.toml:6 directory.server is "
                             "not a setting; did you mean servers?"),
                  StartsWith("error /etc/gatehall/directory.toml:4 directory.servers is "
                             "missing"),
              }));
}

TEST_F(DirectoryFindings, AreSettingsOfTheSwitch) {
  machine.write("/etc/gatehall/switch.toml", "lock = \"perhaps\"\nlok = 1\n");
  EXPECT_THAT(
      findings(),
      ElementsAre("warning /etc/gatehall/switch.toml:2 lok is not a setting; did you mean lock?",
                  "warning /etc/gatehall/switch.toml:1 lock is neither \"require\" nor \"try\""));
}

TEST_F(DirectoryFindings, AreADirectoryThatIsAway) {
  machine.write(kFile, directory(""));
  EXPECT_THAT(findings(), ElementsAre(StartsWith("warning /etc/gatehall/directory.toml:3 the "
                                                 "directory school is away: ")));
}

TEST_F(DirectoryFindings, AreANameServiceThatIsAwayAndASwitchThatNamesNone) {
  machine.write(kFile, "[[directory]]\nname = \"site\"\nkind = \"nss\"\n");
  machine.write("/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
  const auto textsOf = [&] {
    Strings texts;
    const auto away = std::make_shared<FaultyNode>("nss/site", "nss/site: can't be asked: mute");
    for (const auto& each : ctl::findingsOfDirectories(machine.options, {away})) {
      texts.push_back(each.file + ":" + std::to_string(each.line) + " " + each.text);
    }
    return texts;
  };
  EXPECT_THAT(textsOf(),
              ElementsAre(StartsWith("/etc/nsswitch.conf:0 the directory site has nobody: "),
                          "/etc/gatehall/directory.toml:3 the directory site is away: mute"));
  machine.write("/etc/nsswitch.conf", "passwd: files sss\ngroup: files sss\n");
  EXPECT_THAT(textsOf(), ElementsAre(StartsWith("/etc/gatehall/directory.toml:3 ")));
  machine.options.isRunning = false;
  EXPECT_THAT(textsOf(), IsEmpty());
}

TEST_F(DirectoryFindings, AreSettingsOfANameServiceThatAreNone) {
  machine.write(kFile, "[[directory]]\nname = \"site\"\nkind = \"nss\"\nwhen-away = \"ignore\"\n");
  EXPECT_THAT(findings(), testing::Contains(StartsWith(
                              "error /etc/gatehall/directory.toml:4 directory.when-away is not a "
                              "setting")));
}

TEST_F(DirectoryFindings, ArePasswordsInTheClear) {
  machine.write(kFile, directory("tls = \"off\"\n"));
  EXPECT_THAT(findingsBut(" is away: "),
              ElementsAre("warning /etc/gatehall/directory.toml:6 the directory school is sent its "
                          "users' passwords in the clear: tls = \"off\""));
  machine.write("/etc/gatehall/secret", "sesame\n");
  mode("/etc/gatehall/secret", 0640);
  machine.write(kFile, directory("tls = \"off\"\nbind-dn = \"cn=reader,dc=example,dc=org\"\n"
                                 "bind-password-file = \"/etc/gatehall/secret\"\n"));
  EXPECT_THAT(findingsBut(" is away: "),
              ElementsAre("error /etc/gatehall/directory.toml:6 the directory school is sent "
                          "passwords in the clear, that of cn=reader,dc=example,dc=org among them: "
                          "tls = \"off\""));
}

TEST_F(DirectoryFindings, AreServersThatMayBeAnybody) {
  machine.write(kFile, directory("tls = \"unverified\"\n"));
  EXPECT_THAT(findingsBut(" is away: "),
              ElementsAre("warning /etc/gatehall/directory.toml:6 the directory school may be "
                          "anybody: tls = \"unverified\" takes any certificate"));
}

TEST_F(DirectoryFindings, ArePasswordFilesThatOthersCanRead) {
  machine.write(kFile, directory(kBinding));
  EXPECT_THAT(findings(), ElementsAre("error /etc/gatehall/directory.toml:7 the password file "
                                      "/etc/gatehall/secret isn't there"));
  machine.write("/etc/gatehall/secret", "sesame\n");
  EXPECT_THAT(findings(),
              ElementsAre("error /etc/gatehall/secret others than its owner can read or write the "
                          "password of the directory school, which isn't asked because of that"));
}

TEST_F(DirectoryFindings, ArePasswordFilesThatAnotherGroupCanRead) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can give files to others.";
  machine.write("/etc/gatehall/secret", "sesame\n");
  mode("/etc/gatehall/secret", 0640);
  machine.write(kFile, directory(kBinding));
  ASSERT_EQ(chown(machine.path("/etc/shadow").c_str(), 0, 42), 0);
  EXPECT_THAT(findingsBut(" is away: "),
              ElementsAre("error /etc/gatehall/secret others than its owner can read or write the "
                          "password of the directory school, which isn't asked because of that"));
  ASSERT_EQ(chown(machine.path("/etc/gatehall/secret").c_str(), 0, 42), 0);
  EXPECT_THAT(findingsBut(" is away: "), IsEmpty());
}

TEST_F(DirectoryFindings, ArePasswordFilesThatOnlyRootCanRead) {
  machine.write("/etc/gatehall/secret", "sesame\n");
  machine.write(kFile, directory(kBinding));
  const std::string unreadable =
      " only root can read the password of the directory school: gatehalld and gatehall-switch "
      "can't ask it";
  mode("/etc/gatehall/secret", 0600);
  EXPECT_THAT(findingsBut(" is away: "), ElementsAre("warning /etc/gatehall/secret" + unreadable));
  mode("/etc/gatehall/secret", 0640);
  EXPECT_THAT(findingsBut(" is away: "), IsEmpty());
  std::filesystem::create_directory(machine.path("/etc/private"));
  std::filesystem::rename(machine.path("/etc/gatehall/secret"),
                          machine.path("/etc/private/secret"));
  mode("/etc/private", 0700);
  machine.write(kFile, directory("bind-dn = \"cn=reader,dc=example,dc=org\"\n"
                                 "bind-password-file = \"/etc/private/secret\"\n"));
  EXPECT_THAT(findingsBut(" is away: "), ElementsAre("warning /etc/private" + unreadable));
}

TEST_F(DirectoryFindings, AreAKeyThatOthersCanReadAndACertificateThatTheyCanWrite) {
  machine.write(kFile, directory("certificate = \"/etc/gatehall/host.pem\"\n"
                                 "key = \"/etc/gatehall/host.key\"\n"));
  EXPECT_THAT(findings(), ElementsAre("error /etc/gatehall/directory.toml:7 the key file "
                                      "/etc/gatehall/host.key isn't there",
                                      "error /etc/gatehall/directory.toml:6 the certificate file "
                                      "/etc/gatehall/host.pem isn't there"));
  machine.write("/etc/gatehall/host.key", "");
  machine.write("/etc/gatehall/host.pem", "");
  mode("/etc/gatehall/host.pem", 0664);
  EXPECT_THAT(
      findings(),
      ElementsAre("error /etc/gatehall/host.key others than its owner can read or write "
                  "the key of the directory school, which isn't asked because of that",
                  "error /etc/gatehall/host.pem others than its owner can write the "
                  "certificate of the directory school, which isn't asked because of that"));
  mode("/etc/gatehall/host.key", 0600);
  mode("/etc/gatehall/host.pem", 0600);
  const std::string unreadable =
      " of the directory school: gatehalld and gatehall-switch can't ask it";
  EXPECT_THAT(findingsBut(" is away: "),
              ElementsAre("warning /etc/gatehall/host.key only root can read the key" + unreadable,
                          "warning /etc/gatehall/host.pem not everybody can read the certificate" +
                              unreadable));
  mode("/etc/gatehall/host.key", 0640);
  mode("/etc/gatehall/host.pem", 0644);
  EXPECT_THAT(findingsBut(" is away: "), IsEmpty());
}

TEST_F(DirectoryFindings, AreACertificateThatTheSwitchCantRead) {
  machine.write("/etc/gatehall/host.key", "");
  mode("/etc/gatehall/host.key", 0640);
  std::filesystem::create_directories(machine.path("/etc/own/keys"));
  machine.write("/etc/own/keys/host.pem", "");
  machine.write(kFile, directory("certificate = \"/etc/own/keys/host.pem\"\n"
                                 "key = \"/etc/gatehall/host.key\"\n"));
  const auto expectUnreadable = [&](const std::string& place, const std::string& who) {
    EXPECT_THAT(findingsBut(" is away: "),
                ElementsAre("warning " + place +
                            " not everybody can read the certificate of the directory school: " +
                            who + " can't ask it"));
  };
  mode("/etc/own/keys/host.pem", 0640);
  expectUnreadable("/etc/own/keys/host.pem", "gatehall-switch");
  mode("/etc/own/keys/host.pem", 0644);
  mode("/etc/own", 0710);
  expectUnreadable("/etc/own", "gatehall-switch");
  mode("/etc/own", 0700);
  expectUnreadable("/etc/own", "gatehalld and gatehall-switch");
  mode("/etc/own", 0701);
  expectUnreadable("/etc/own", "gatehalld");
  mode("/etc/own", 0711);
  EXPECT_THAT(findingsBut(" is away: "), IsEmpty());
}

TEST_F(DirectoryFindings, AreACertificateAndAKeyThatAreLinks) {
  machine.write("/etc/own/host.pem", "");
  machine.write("/etc/own/host.key", "");
  mode("/etc/own/host.key", 0640);
  std::filesystem::create_directories(machine.path("/etc/gatehall"));
  for (const std::string file : {"host.pem", "host.key"}) {
    std::filesystem::create_symlink("/etc/own/" + file, machine.path("/etc/gatehall/" + file));
  }
  machine.write(kFile, directory("certificate = \"/etc/gatehall/host.pem\"\n"
                                 "key = \"/etc/gatehall/host.key\"\n"));
  const std::string fault =
      " of the directory school is a symbolic link: the directory isn't asked because of that";
  EXPECT_THAT(findings(), ElementsAre("error /etc/gatehall/host.key the key" + fault,
                                      "error /etc/gatehall/host.pem the certificate" + fault));
}

TEST_F(DirectoryFindings, AreACertificateAndAKeyOfAnotherUsers) {
  if (geteuid() != 0) GTEST_SKIP() << "Only root can give files to others.";
  machine.write(kFile, directory("certificate = \"/etc/gatehall/host.pem\"\n"
                                 "key = \"/etc/gatehall/host.key\"\n"));
  for (const auto* file : {"/etc/gatehall/host.pem", "/etc/gatehall/host.key"}) {
    machine.write(file, "");
    mode(file, 0600);
    ASSERT_EQ(chown(machine.path(file).c_str(), 1000, 0), 0);
  }
  const std::string fault =
      " of the directory school belongs to user 1000: the directory isn't asked because of that";
  EXPECT_THAT(findings(), ElementsAre("error /etc/gatehall/host.key the key" + fault,
                                      "error /etc/gatehall/host.pem the certificate" + fault));
}

TEST_F(DirectoryFindings, AreADirectoryThatIsSlow) {
  machine.write(kFile, directory(""));
  const auto found = [&](double seconds) {
    return ctl::findingsOfDirectories(machine.options, {std::make_shared<AnsweringNode>(seconds)});
  };
  EXPECT_THAT(found(0.4), IsEmpty());
  const auto slow = found(1.25);
  ASSERT_EQ(slow.size(), 1U);
  EXPECT_EQ(slow[0].line, 3U);
  EXPECT_EQ(slow[0].text,
            "the directory school is slow: an answer that holds nothing takes 1250 ms, of the 2000 "
            "ms that time-limit allows");
}

}  // namespace
}  // namespace gatehall
