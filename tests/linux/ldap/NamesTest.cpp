#include "linux/ldap/client/Settings.h"
#include "tests/ctl/Run.h"
#include "tests/linux/ldap/fixture/LdapFaults.h"

// Whom gatehallctl finds by name in a directory, and why somebody there is nobody here.

namespace gatehall {
namespace {

using testing::HasSubstr;
using Json = nlohmann::ordered_json;

/// A machine with ann and bob, and a directory of dana and of one whom every test describes.
class LdapNames : public testing::Test {
 protected:
  LdapNames() {
    machine.write("/etc/passwd",
                  "root:x:0:0::/root:/bin/sh\n"
                  "ann:x:1000:1000:Ann Lee:/home/ann:/bin/sh\n"
                  "bob:x:1001:1001::/home/bob:/bin/sh\n");
    machine.write("/etc/shadow", "ann:$6$salt$hash:19000::::::\nbob:$6$salt$hash:19000::::::\n");
  }

  void serve(const std::string& name, const std::string& userID, const std::string& more = "") {
    const std::vector<std::string> entries{
        ber::entry("uid=pat,dc=example,dc=org",
                   {{"objectClass", {"posixAccount"}},
                    {"uid", {name}},
                    {"uidNumber", {userID}},
                    {"gidNumber", {"700"}},
                    {"entryUUID", {"5f000000-0000-4000-8000-0000000000aa"}}}),
        ber::entry("uid=dana,dc=example,dc=org", danasAttributes())};
    mServer = std::make_unique<ScriptedServer>([entries](Peer& peer) {
      peer.serve([&](const Request& request) { return peer.write(found(request, entries)); });
    });
    machine.configure(
        LdapMachine::table("test", LdapMachine::quoted(mServer->uri()), "tls = \"off\"\n" + more));
  }

  Json about(const std::string& operand) const {
    const auto outcome = run({"--root", machine.options.root, "--json", "can-log-in", operand});
    return Json::parse(outcome.output).at("users").at(0);
  }

  std::unique_ptr<ScriptedServer> mServer;
  LdapMachine machine;
};

}  // namespace

TEST_F(LdapNames, AreThoseOfTheDirectoryToo) {
  serve("pat", "5001");
  const auto pat = about("pat");
  EXPECT_EQ(pat["rule"], "no allow list");
  EXPECT_EQ(pat["uid"], 5001);
  EXPECT_EQ(pat["node"], "ldap/test");
}

TEST_F(LdapNames, OfWhomHasTooLowAUserIDSayThat) {
  serve("pat", "1500", "min-id = 5000\n");
  for (const auto* operand : {"pat", "1500", "5f000000-0000-4000-8000-0000000000aa"}) {
    const auto pat = about(operand);
    EXPECT_EQ(pat["rule"], "user id too low") << operand;
    EXPECT_EQ(pat["reason"], "its user id 1500 is out of range");
    EXPECT_EQ(pat["name"], "pat");
    EXPECT_EQ(pat["uid"], 1500);
    EXPECT_EQ(pat["node"], "ldap/test");
    EXPECT_EQ(pat["found"], false);
  }
  serve("pat", "9000", "max-id = 8999\n");
  EXPECT_EQ(about("pat")["rule"], "user id too high");
}

TEST_F(LdapNames, OfWhomALocalAccountHidesSayWhich) {
  serve("pat", "1001");
  const auto pat = about("pat");
  EXPECT_EQ(pat["rule"], "hidden by a local account");
  EXPECT_THAT(pat["reason"].get<std::string>(), HasSubstr("the user id 1001"));
}

TEST_F(LdapNames, OfALocalAccountTellTheDirectorysOfThatName) {
  serve("ann", "5001");
  const auto ann = about("ann");
  EXPECT_EQ(ann["node"], "local");
  ASSERT_EQ(ann["others"].size(), 1U);
  EXPECT_EQ(ann["others"][0]["uid"], 5001);
  EXPECT_EQ(ann["others"][0]["node"], "ldap/test");
  EXPECT_EQ(ann["others"][0]["reason"], "it has the name ann of a local account");
}

}  // namespace gatehall
