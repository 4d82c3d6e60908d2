#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <unistd.h>

#include "tests/ctl/RunWorld.h"
#include "tests/linux/Machine.h"

// A machine under a folder, whose files say why somebody may not log in.

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Json = nlohmann::ordered_json;

constexpr const char* kHash = "$6$salt$hash";

class ExplainedMachine : public testing::Test {
 protected:
  ExplainedMachine() {
    machine.write("/etc/passwd",
                  "root:x:0:0::/root:/bin/bash\n"
                  "ann:x:1000:1000:Ann Lee:/home/ann:/bin/bash\n"
                  "bob:x:1001:1001:Bob Ray:/home/bob:/bin/bash\n"
                  "carol:x:1002:1002::/home/carol:/bin/bash\n"
                  "erin:x:1003:1003::/home/erin:/bin/bash\n"
                  "finn:x:1004:1004::/home/finn:/usr/sbin/nologin\n"
                  "gina:x:1005:1005::/home/gina:/bin/bash\n"
                  "hugo:x:1006:1006::/home/hugo:/bin/bash\n");
    const auto line = [](const std::string& name, const std::string& password,
                         const std::string& end = "") {
      return name + ":" + password + ":19000:0:99999:7::" + end + ":\n";
    };
    machine.write("/etc/shadow", line("root", "*") + line("ann", kHash) + line("bob", "") +
                                     line("carol", std::string("!") + kHash) +
                                     line("erin", kHash, "1") + line("finn", kHash) +
                                     line("gina", "*") + line("hugo", kHash));
    machine.write("/etc/group", "sudo:x:27:ann\n");
    machine.write("/etc/userdb/hugo.user", R"({"userName": "hugo", "uid": 1006, "locked": true})");
  }

  /// What is said of the one who is meant.
  Json about(const std::string& operand) const {
    const auto outcome = run({"--root", machine.options.root, "--json", "can-log-in", operand});
    return Json::parse(outcome.output).at("users").at(0);
  }

  void expectNobody(const std::string& name, const std::string& rule, const Json& file,
                    const Json& line) const {
    const auto found = about(name);
    EXPECT_EQ(found["rule"], rule) << name;
    EXPECT_EQ(found["file"], file) << name;
    EXPECT_EQ(found["line"], line) << name;
    EXPECT_EQ(found["found"], false) << name;
    EXPECT_EQ(found["allowed"], false) << name;
    EXPECT_TRUE(found["source"].is_null()) << name;
    EXPECT_EQ(found["node"], "local") << name;
  }

  Machine machine;
};

TEST_F(ExplainedMachine, NamesTheFileAndLineThatMakeAnAccountNobodys) {
  expectNobody("carol", "locked", "/etc/shadow", 4);
  expectNobody("erin", "expired", "/etc/shadow", 5);
  expectNobody("finn", "no shell", "/etc/passwd", 6);
  expectNobody("gina", "no password", "/etc/shadow", 7);
  expectNobody("hugo", "locked", "/etc/userdb/hugo.user", nullptr);
  EXPECT_THAT(run({"--root", machine.options.root, "can-log-in", "finn"}).output,
              HasSubstr("      its shell /usr/sbin/nologin lets nobody in\n"));
}

TEST_F(ExplainedMachine, NamesTheLineOfTheAccessGroup) {
  machine.write("/etc/group", "sudo:x:27:ann\ngatehall-access:x:990:ann\n");
  expectNobody("bob", "not in gatehall-access", "/etc/group", 2);
  EXPECT_EQ(about("ann")["rule"], "administrator");
}

TEST_F(ExplainedMachine, NamesTheGroupThatMakesAnAdministrator) {
  EXPECT_EQ(about("ann")["chain"], Json({"admin", "sudo", "ann"}));
}

TEST_F(ExplainedMachine, NamesTheFileAndLineOfASetting) {
  machine.write("/etc/gatehall/managed/com.orvane.gatehall.plist",
                "<?xml version=\"1.0\"?>\n<plist version=\"1.0\">\n<dict>\n"
                "<key>LocalUserLoginEnabled</key>\n<false/>\n</dict>\n</plist>\n");
  const auto bob = about("bob");
  EXPECT_EQ(bob["rule"], "local login disabled");
  EXPECT_EQ(bob["source"], "managed");
  EXPECT_EQ(bob["file"], "/etc/gatehall/managed/com.orvane.gatehall.plist");
  EXPECT_EQ(bob["line"], 4);
  EXPECT_EQ(bob["key"], "LocalUserLoginEnabled");
  EXPECT_THAT(run({"--root", machine.options.root, "can-log-in", "bob"}).output,
              HasSubstr("      LocalUserLoginEnabled in\n"
                        "      /etc/gatehall/managed/com.orvane.gatehall.plist:4\n"));
}

/// Root's run is another user's for a while.
class AsNobody {
 public:
  AsNobody() {
    if (geteuid() == 0 && seteuid(kNobody) != 0) throw std::runtime_error("seteuid");
  }
  ~AsNobody() {
    if (getuid() == 0 && seteuid(0) != 0) std::abort();
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
};

TEST_F(ExplainedMachine, SaysWhatARunThatMayNotReadHashesCantKnow) {
  ASSERT_EQ(chmod(machine.options.root.c_str(), 0755), 0);
  ASSERT_EQ(chmod(machine.path("/etc/shadow").c_str(), 0), 0);
  const AsNobody nobody;
  const auto carol = about("carol");
  EXPECT_EQ(carol["found"], true) << "she may be locked";
  ASSERT_EQ(carol["unknown"].size(), 1U);
  EXPECT_THAT(carol["unknown"][0].get<std::string>(), HasSubstr("/etc/shadow"));
  EXPECT_EQ(about("finn")["rule"], "no shell") << "as the line says to everybody";
  const auto of = [&](Strings words) {
    words.insert(words.begin(), {"--root", machine.options.root, "can-log-in"});
    return run(words).errors;
  };
  constexpr const char* kSaid = "not all is known of 2 users (--why tells what): whether the acc";
  EXPECT_THAT(of({"carol", "bob"}), HasSubstr(kSaid));
  EXPECT_THAT(of({"--why", "carol", "bob"}), Not(HasSubstr(kSaid)));
  EXPECT_THAT(of({"--all"}), HasSubstr("not all is known of"));
}

TEST_F(ExplainedMachine, SaysNothingOfWhatItKnows) {
  EXPECT_THAT(about("bob")["unknown"], IsEmpty());
}

TEST_F(ExplainedMachine, NamesALocalAccountThatComesNear) {
  const auto unknown = about("carl");
  EXPECT_EQ(unknown["rule"], "no such account");
  EXPECT_EQ(unknown["nearest"], Json({"carol"}));
}

TEST_F(ExplainedMachine, SaysWhereTheAccessGroupCantBeKnown) {
  machine.write("/etc/group", "sudo:x:27:ann\ngatehall-access:x:990:ann\n");
  machine.write("/etc/gatehall/directory.toml",
                "[[directory]]\nname = \"town\"\nservers = [\"ldap://127.0.0.1:1\"]\n"
                "base = \"dc=example,dc=org\"\ntls = \"off\"\n");
  const auto outcome = run({"--root", machine.options.root, "can-log-in", "bob", "bob"});
  EXPECT_EQ(outcome.status, ctl::ExitStatus::HostFailure);
  const auto first = outcome.errors.find("logged, error: the access list");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(outcome.errors.find("logged, error: the access list", first + 1), std::string::npos)
      << "the same is printed once";
  const auto bob = about("bob");
  EXPECT_EQ(bob["rule"], "undecidable");
  EXPECT_THAT(bob["reason"].get<std::string>(), HasSubstr("ldap/town"));
}

TEST_F(ExplainedMachine, CantTellWhileADirectoryThatMayHaveTheAccountIsAway) {
  machine.write("/etc/gatehall/directory.toml",
                "[[directory]]\nname = \"town\"\nservers = [\"ldap://127.0.0.1:1\"]\n"
                "base = \"dc=example,dc=org\"\ntls = \"off\"\n");
  const auto outcome = run({"--root", machine.options.root, "--json", "can-log-in", "dana", "ann"});
  EXPECT_EQ(outcome.status, ctl::ExitStatus::HostFailure);
  const auto document = Json::parse(outcome.output);
  EXPECT_EQ(document["users"][0]["rule"], "undecidable");
  EXPECT_THAT(document["users"][0]["reason"].get<std::string>(), HasSubstr("ldap/town"));
  EXPECT_EQ(document["users"][1]["rule"], "administrator");
  EXPECT_THAT(about("carl")["nearest"], ElementsAre("carol")) << "of the machine's own";
}

}  // namespace
}  // namespace gatehall
