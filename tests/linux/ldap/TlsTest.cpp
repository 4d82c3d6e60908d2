#include <cstdio>
#include <dlfcn.h>
#include <unistd.h>

#include "tests/linux/ldap/fixture/Certificates.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"
#include "tests/linux/ldap/fixture/ScriptedServer.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

Slapd::Options with(const std::string& certificate) {
  return {.ldif = ldifOf(LdifUser{"dana", 5000}),
          .global = certificates().lines(certificate) + "security simple_bind=128\n",
          .hasTls = true};
}

const Slapd& serverFor(const std::string& host) {
  static const Slapd ours(with("127.0.0.1"));
  static const Slapd others(with("192.0.2.1"));
  return host == "127.0.0.1" ? ours : others;
}

/// The server's URI, by that name.
std::string called(const std::string& name, const Slapd& server) {
  auto uri = server.tlsURI();
  return uri.replace(uri.find("127.0.0.1"), 9, name);
}

class LdapTls : public testing::Test {
 protected:
  LdapTls() {
    for (const std::string file : {"/ca.pem", "/other-ca.pem"}) {
      std::ifstream authority(certificates().path(file));
      machine.write("/etc" + file, std::string((std::istreambuf_iterator<char>(authority)), {}));
    }
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
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(HasSubstr("TLS fails: its certificate is not for 127.0.0.1")));
}

TEST_F(LdapTls, TakesLocalhostAsAnyOtherName) {
  const Slapd server(with("localhost"));
  configure(called("localhost", server));
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
}

TEST_F(LdapTls, DoesNotTakeThisMachinesNameForLocalhost) {
  const Slapd server(with("own-name"));
  configure(called("localhost", server));
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("its certificate is not for localhost")));
}

TEST_F(LdapTls, TakesTheSubjectForANameWhereThereIsNoOther) {
  const Slapd server(with("only-subject"));
  configure(called("localhost", server));
  EXPECT_THAT(machine.anywhere({"dana"}), ElementsAre("dana"));
}

TEST_F(LdapTls, DoesNotTakeTheSubjectForANameBesideOthers) {
  const Slapd server(with("other-than-subject"));
  configure(called("localhost", server));
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("its certificate is not for localhost")));
}

TEST_F(LdapTls, SaysWhenACertificateHasExpired) {
  const Slapd server(with("expired"));
  configure(server.tlsURI());
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(HasSubstr("TLS fails: its certificate has expired on 20")));
}

TEST_F(LdapTls, SaysThatAServerHasNone) {
  const ScriptedServer server([](ScriptedServer::Peer&) {});
  auto uri = server.uri();
  configure(uri.replace(0, 4, "ldaps"));
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(), ElementsAre(HasSubstr("TLS fails: the server breaks off")));
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

TEST_F(LdapTls, SaysThatACertificateIsByAnotherAuthority) {
  configure(serverFor("127.0.0.1").tlsURI(), "ca-file = \"/etc/other-ca.pem\"\n");
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(
      machine.log.lines(),
      ElementsAre(HasSubstr("TLS fails: its certificate is by no authority of /etc/other-ca.pem")));
}

TEST_F(LdapTls, SaysNothingOfAnAuthorityThatTheFileHas) {
  const Slapd server(with("weak"));
  configure(server.tlsURI());
  machine.expectOnlyLocalAccounts();
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(EndsWith("TLS fails: its certificate is not accepted")));
}

TEST_F(LdapTls, TakesNoCertificateForLocalhostsWhereTheProgramKeepsTheNameOfThisMachine) {
  // In a process that has not started the library yet, and has SASL for itself.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        if (dlopen("libsasl2.so.2", RTLD_NOW | RTLD_GLOBAL) == nullptr) _exit(2);
        const ScriptedServer server([](ScriptedServer::Peer&) {});
        auto uri = server.uri();
        uri.replace(0, 4, "ldaps");
        configure(uri.replace(uri.find("127.0.0.1"), 9, "localhost"));
        const bool isFound = machine.node("ldap/test") != nullptr;
        for (const auto& line : machine.log.lines()) std::fprintf(stderr, "%s\n", line.c_str());
        _exit(isFound ? 1 : 0);
      },
      testing::ExitedWithCode(0), "whether a certificate is for localhost can't be told here");
  GTEST_FLAG_SET(death_test_style, "fast");
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
