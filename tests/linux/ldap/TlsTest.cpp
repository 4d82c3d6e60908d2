#include "tests/linux/ldap/fixture/LdapMachine.h"
#include "tests/linux/ldap/fixture/ScriptedServer.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// An authority of the tests' own, and servers' certificates by it: one for this address and one
/// for another.
class Certificates {
 public:
  Certificates() {
    runProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
                "-nodes", "-days", "2", "-subj", "/CN=Tests", "-keyout", path("/ca.key"), "-out",
                path("/ca.pem")});
    issue("127.0.0.1");
    issue("192.0.2.1");
  }

  std::string path(std::string_view file) const { return mFolder.path(file); }
  std::string lines(const std::string& host) const {
    return "TLSCACertificateFile " + path("/ca.pem") + "\nTLSCertificateFile " +
           path("/" + host + ".pem") + "\nTLSCertificateKeyFile " + path("/" + host + ".key") +
           "\n";
  }

 private:
  void issue(const std::string& host) {
    mFolder.write("/" + host + ".cnf", "subjectAltName=IP:" + host + "\n");
    runProgram({"openssl", "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                "-subj", "/CN=" + host, "-keyout", path("/" + host + ".key"), "-out",
                path("/" + host + ".csr")});
    runProgram({"openssl", "x509", "-req", "-in", path("/" + host + ".csr"), "-CA", path("/ca.pem"),
                "-CAkey", path("/ca.key"), "-CAcreateserial", "-days", "2", "-extfile",
                path("/" + host + ".cnf"), "-out", path("/" + host + ".pem")});
  }

  Folder mFolder;
};

const Certificates& certificates() {
  static const Certificates made;
  return made;
}

const Slapd& serverFor(const std::string& host) {
  const auto make = [](const std::string& name) {
    return Slapd::Options{.ldif = ldifOf(LdifUser{"dana", 5000}),
                          .global = certificates().lines(name) + "security simple_bind=128\n",
                          .hasTls = true};
  };
  static const Slapd ours(make("127.0.0.1"));
  static const Slapd others(make("192.0.2.1"));
  return host == "127.0.0.1" ? ours : others;
}

class LdapTls : public testing::Test {
 protected:
  LdapTls() {
    std::ifstream authority(certificates().path("/ca.pem"));
    machine.write("/etc/ca.pem", std::string((std::istreambuf_iterator<char>(authority)), {}));
    machine.write("/etc/other-ca.pem", "");
  }
  void configure(const std::string& uri, std::string_view more = "ca-file = \"/etc/ca.pem\"\n") {
    machine.configure(LdapMachine::table("test", LdapMachine::quoted(uri),
                                         machine.asManager() + std::string(more)));
  }
  LdapMachine machine;
};

}  // namespace

TEST_F(LdapTls, IsWhatLdapsIsOver) {
  configure(serverFor("127.0.0.1").tlsURI());
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapTls, IsStartedOnLdap) {
  configure(serverFor("127.0.0.1").uri());
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(LdapTls, IsRefusedToAServerOfAnotherName) {
  configure(serverFor("192.0.2.1").tlsURI());
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("certificate is not accepted")));
}

TEST_F(LdapTls, IsNotWaitedForBeyondTheTime) {
  const ScriptedServer mute;
  auto uri = mute.uri();
  configure(uri.replace(0, 4, "ldaps"), "ca-file = \"/etc/ca.pem\"\ntime-limit = 0.3\n");
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("TLS fails: no answer in time")));
}

TEST_F(LdapTls, IsRefusedToAServerThatNobodyVouchesFor) {
  configure(serverFor("127.0.0.1").uri(), "");
  machine.write("/etc/ssl/certs/ca-certificates.crt", "");
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("TLS")));
}

TEST_F(LdapTls, NeedsTheFileOfCertificates) {
  configure(serverFor("127.0.0.1").tlsURI(), "ca-file = \"/etc/missing.pem\"\n");
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("/etc/missing.pem")));
}

TEST_F(LdapTls, ChecksNoCertificateWhereToldSo) {
  configure(serverFor("192.0.2.1").tlsURI(), "tls = \"unverified\"\n");
  machine.write("/etc/ssl/certs/ca-certificates.crt", "");
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
}

TEST_F(LdapTls, IsNeverLeftOutUnlessToldSo) {
  const Slapd plain({.ldif = ldifOf(LdifUser{"dana", 5000})});
  configure(plain.uri());
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("no TLS: ")));
  // This server takes no password in the clear, and says so.
  LdapMachine clear;
  clear.configure(LdapMachine::table("test", LdapMachine::quoted(serverFor("127.0.0.1").uri()),
                                     "tls = \"off\"\n" + clear.asManager()));
  clear.expectOnlyLocalAccounts();
  EXPECT_THAT(clear.log.lines(), ElementsAre(HasSubstr("is refused: ")));
}

}  // namespace gatehall
