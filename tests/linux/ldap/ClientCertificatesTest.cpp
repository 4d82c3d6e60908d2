#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

#include "linux/ldap/client/Credentials.h"
#include "linux/records/NetworkNode.h"
#include "tests/linux/ldap/fixture/Certificates.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kShown =
    "certificate = \"/etc/gatehall/host.pem\"\nkey = \"/etc/gatehall/host.key\"\n";
constexpr const char* kExternal = "sasl-mechanism = \"EXTERNAL\"\n";

Slapd::Options with(const std::string& more, const std::string& access = "") {
  return {.ldif = ldifOf(LdifUser{"dana", 5000, 100, "", "", "userPassword: danas\n"}),
          .global = certificates().lines("127.0.0.1") + more,
          .database = access,
          .hasTls = true};
}

/// A server that nobody without a certificate by its authority talks to, and that shows its entries
/// to the machine "host" alone.
const Slapd& demanding() {
  static const Slapd slapd(with("TLSVerifyClient demand\n",
                                "access to attrs=userPassword by * auth\n"
                                "access to * by dn.exact=\"cn=host\" read by anonymous auth\n"));
  return slapd;
}

/// The same, which shows them to everybody.
const Slapd& open() {
  static const Slapd slapd(with("TLSVerifyClient demand\n"));
  return slapd;
}

class LdapClientCertificates : public testing::Test {
 protected:
  LdapClientCertificates() {
    place("/ca.pem", "/etc/ca.pem");
    place("/host.pem", "/etc/gatehall/host.pem");
    place("/host.key", kKey, 0600);
  }
  void place(const std::string& made, const std::string& file, mode_t mode = 0644) {
    std::ifstream content(certificates().path(made));
    machine.write(file, std::string((std::istreambuf_iterator<char>(content)), {}));
    ASSERT_EQ(chmod(machine.path(file).c_str(), mode), 0);
  }
  void configure(const std::string& uri, const std::string& more = kShown) {
    machine.configure(
        LdapMachine::table("test", LdapMachine::quoted(uri), "ca-file = \"/etc/ca.pem\"\n" + more));
  }
  void expectAway(const std::string& fault) {
    machine.expectOnlyLocalAccounts();
    EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr(fault)));
  }

  static constexpr const char* kKey = "/etc/gatehall/host.key";
  LdapMachine machine;
};

}  // namespace

TEST_F(LdapClientCertificates, AreShownToServersThatDemandThem) {
  for (const auto& uri : {open().tlsURI(), open().uri()}) {
    configure(uri);
    EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana")) << uri;
  }
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapClientCertificates, AreMissedByServersThatDemandThem) {
  configure(open().tlsURI(), "");
  expectAway(open().tlsURI() +
             ": the connection broke off; a server does that which wants a certificate");
}

TEST_F(LdapClientCertificates, AreNotAcceptedByAnotherAuthority) {
  place("/strange-host.pem", "/etc/gatehall/host.pem");
  place("/strange-host.key", kKey, 0600);
  configure(open().tlsURI());
  expectAway(open().tlsURI() +
             ": the connection broke off; a server does that which wants a certificate");
}

TEST_F(LdapClientCertificates, BindNobodyUnlessToldSo) {
  configure(demanding().tlsURI());
  EXPECT_THAT([&] { machine.anywhere({"dana"}); }, testing::Throws<PlatformException>());
}

TEST_F(LdapClientCertificates, BindTheMachineByItsSubject) {
  configure(demanding().tlsURI(), std::string(kShown) + kExternal);
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapClientCertificates, AreShownWhereAPasswordIsVerified) {
  configure(demanding().tlsURI(), std::string(kShown) + kExternal);
  const auto dana = machine.networkUser("dana");
  ASSERT_NE(dana, nullptr);
  DirectoryError error;
  EXPECT_TRUE(dana->verifyPassword("danas", error));
  EXPECT_FALSE(dana->verifyPassword("erins", error));
}

TEST_F(LdapClientCertificates, ThatBindNobodyLeaveTheDirectoryAway) {
  const Slapd plain(with(""));  // which asks for no certificate
  configure(plain.tlsURI(), std::string(kShown) + kExternal);
  expectAway(plain.tlsURI() + ": the certificate /etc/gatehall/host.pem is refused: ");
}

TEST_F(LdapClientCertificates, NeedAKeyThatNobodyElseCanRead) {
  const std::string file = "the key file /etc/gatehall/host.key can't be used: ";
  for (const mode_t mode : {0604U, 0644U, 0602U, 0620U, 0660U}) {
    LdapMachine asked;
    asked.configure(LdapMachine::table("test", LdapMachine::quoted(open().tlsURI()),
                                       "ca-file = \"/etc/ca.pem\"\n" + std::string(kShown)));
    asked.write("/etc/gatehall/host.pem", "");
    asked.write(kKey, "");
    ASSERT_EQ(chmod(asked.path(kKey).c_str(), mode), 0);
    asked.expectOnlyLocalAccounts();
    EXPECT_THAT(asked.log.lines(),
                ElementsAre(HasSubstr(file + "others than its owner can read it")))
        << mode;
  }
  ASSERT_EQ(chmod(machine.path(kKey).c_str(), 0640), 0);
  machine.write("/etc/shadow", "");
  if (geteuid() == 0) {
    ASSERT_EQ(chown(machine.path("/etc/shadow").c_str(), 0, 42), 0);
    configure(open().tlsURI());
    expectAway(file + "its group can read it");
  }
}

TEST_F(LdapClientCertificates, MayHaveAKeyThatTheGroupOfShadowCanRead) {
  machine.write("/etc/shadow", "");
  ASSERT_EQ(chmod(machine.path(kKey).c_str(), 0640), 0);
  configure(open().tlsURI());
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
}

TEST_F(LdapClientCertificates, NeedAKeyThatIsThere) {
  std::filesystem::remove(machine.path(kKey));
  configure(open().tlsURI());
  expectAway("the key file /etc/gatehall/host.key can't be used: No such file or directory");
}

TEST_F(LdapClientCertificates, NeedTheirOwnKey) {
  place("/localhost.key", kKey, 0600);
  configure(open().tlsURI());
  expectAway("TLS can't be set up: /etc/gatehall/host.pem and /etc/gatehall/host.key are no");
}

TEST_F(LdapClientCertificates, AreWrittenByNobodyElse) {
  ASSERT_EQ(chmod(machine.path("/etc/gatehall/host.pem").c_str(), 0666), 0);
  configure(open().tlsURI());
  expectAway("the certificate file /etc/gatehall/host.pem can't be used: ");
}

TEST_F(LdapClientCertificates, AreThere) {
  std::filesystem::remove(machine.path("/etc/gatehall/host.pem"));
  configure(open().tlsURI());
  expectAway("the certificate file /etc/gatehall/host.pem can't be used: it isn't there");
}

TEST_F(LdapClientCertificates, ThatTheHostCantReadLeaveOnlyTheirDirectoryAway) {
  std::filesystem::create_symlink("loop", machine.path("/etc/loop"));
  const std::string fault = " file /etc/loop/host can't be used: ";
  configure(open().tlsURI(),
            "certificate = \"/etc/loop/host\"\nkey = \"/etc/gatehall/host.key\"\n");
  expectAway("the certificate" + fault);
  LdapMachine asked;
  std::filesystem::create_symlink("loop", asked.path("/etc/loop"));
  asked.write("/etc/gatehall/host.pem", "");
  asked.configure(LdapMachine::table("test", LdapMachine::quoted(open().tlsURI()),
                                     "certificate = \"/etc/gatehall/host.pem\"\n"
                                     "key = \"/etc/loop/host\"\n"));
  asked.expectOnlyLocalAccounts();
  EXPECT_THAT(asked.log.lines(), ElementsAre(HasSubstr("the key" + fault)));
}

TEST_F(LdapClientCertificates, WithoutADescriptorForThemLeaveTheirDirectoryAway) {
  ldap::Settings settings;
  settings.certificateFile = "/etc/gatehall/host.pem";
  settings.keyFile = kKey;
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  std::string fault;
  try {
    ldap::readClientCertificate(machine.options, settings);
  } catch (const DirectoryUnreachable& failure) {
    fault = failure.what();
  }
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_THAT(fault, HasSubstr("the certificate file /etc/gatehall/host.pem can't be used: "));
}

TEST_F(LdapClientCertificates, ThatMemoryDoesntHoldLeaveTheDirectoryAway) {
  configure(open().tlsURI());
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit few{16, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &few), 0);
  expectAway(
      "TLS can't be set up: /etc/gatehall/host.pem and its key can't be held in memory: File too "
      "large");
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
}

TEST_F(LdapClientCertificates, GoToNoServerThatAnotherOneNames) {
  const Slapd elsewhere(with("TLSVerifyClient demand\n"));
  const Slapd here(
      {.ldif =
           "dn: ou=far,dc=example,dc=org\nobjectClass: referral\nobjectClass: extensibleObject\n"
           "ou: far\nref: " +
           elsewhere.tlsURI() + "/dc=example,dc=org\n\n",
       .global = certificates().lines("127.0.0.1") + "TLSVerifyClient demand\n",
       .hasTls = true});
  configure(here.tlsURI(), std::string(kShown) + "follow-referrals = true\n");
  EXPECT_THAT([&] { machine.anywhere({"dana"}); },
              testing::ThrowsMessage<PlatformException>(HasSubstr(elsewhere.tlsURI())));
}

}  // namespace gatehall
