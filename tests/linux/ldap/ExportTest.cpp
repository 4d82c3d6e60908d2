#include <cctype>

#include "tests/ctl/SameAnswers.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"

// A machine with a network directory as a world file.

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kDana = "6c6b2f1e-0000-4000-8000-000000002000";
constexpr const char* kStaff = "6c6b2f1e-0000-4000-8000-00000000b000";

class LdapExport : public testing::Test {
 protected:
  LdapExport() {
    const auto users = ldifOf(LdifUser{.name = "dana", .userID = 2000, .guid = kDana}) +
                       ldifOf(LdifUser{.name = "dora", .userID = 2001, .fullName = "Dora Fay"}) +
                       ldifOf(LdifUser{.name = "emil", .userID = 2002, .groupID = 3001}) +
                       ldifOf(LdifUser{.name = "fred", .userID = 2003});
    const auto groups =
        ldifOf(LdifGroup{.name = "class", .groupID = 3001, .members = {userDN("dora")}}) +
        ldifOf(LdifGroup{.name = "staff",
                         .groupID = 3000,
                         .members = {userDN("dana"), groupDN("class")},
                         .guid = kStaff});
    server = std::make_unique<Slapd>(Slapd::Options{.ldif = users + groups});
    setDirectory("tls = \"off\"\nwhen-away = \"refuse\"\n");
    machine.write("/etc/group", "sudo:x:27:ann,dana\nusers:x:100:\n");
    machine.write("/etc/shadow", "ann::19000::::::\n");
  }

  void setDirectory(const std::string& more) const {
    machine.configure(LdapMachine::table("test", LdapMachine::quoted(server->uri()), more));
  }
  void admit(const std::string& guid) const {
    machine.write("/etc/gatehall/managed/com.orvane.gatehall.plist",
                  "<plist version=\"1.0\"><dict><key>AllowList</key><array><string>" + guid +
                      "</string></array></dict></plist>");
  }
  void admitStaff() const { admit(kStaff); }

  Strings place() const { return {"--root", machine.options.root}; }
  std::string exported(const Strings& more = {}) const {
    auto words = place();
    words.emplace_back("export");
    words.insert(words.end(), more.begin(), more.end());
    const auto outcome = run(words);
    EXPECT_EQ(outcome.status, ExitStatus::Done) << outcome.errors;
    return outcome.output;
  }
  void expectSame(const std::string& text, Asked asked) {
    const WorldFileOnDisk world(text);
    if (asked.users.empty()) asked.users = {"1000", "2000", "2001", "2002", "2003", "4242"};
    if (asked.guids.empty()) asked.guids = {kStaff, kDana};
    expectSameAnswers(place(), world.path(), asked);
  }

  LdapMachine machine;
  std::unique_ptr<Slapd> server;
};

TEST_F(LdapExport, AnswersEveryVerbWithAllThatTheDirectoryHolds) {
  admitStaff();
  expectSame(exported({"--all"}), {});
}

TEST_F(LdapExport, ReachesWhomTheListsName) {
  admitStaff();
  const auto text = exported();
  EXPECT_THAT(text, HasSubstr("\"RecordName\": \"dora\"")) << "of a nested group";
  EXPECT_THAT(text, Not(HasSubstr("\"RecordName\": \"fred\""))) << "nobody names him";
  // The counts of what a directory holds are those of what was brought along.
  expectSame(text,
             {.users = {"1000", "2000", "2001"}, .hasAllAccounts = false, .skip = {"directories"}});
}

TEST_F(LdapExport, ReachesWhomTheMachinesOwnGroupsList) {
  machine.write("/etc/group", "sudo:x:27:ann\nusers:x:100:fred\n");
  auto guid = machine.group("users")->valuesForAttribute(attribute::GUID)->front();
  for (auto& digit : guid) digit = static_cast<char>(std::tolower(digit));
  admit(guid);
  const auto text = exported();
  EXPECT_THAT(text, HasSubstr("\"RecordName\": \"fred\""));
  expectSame(text, {.users = {"1000", "2003"},
                    .guids = {guid},
                    .hasAllAccounts = false,
                    .skip = {"directories"}});
}

TEST_F(LdapExport, TellsThatEntriesWhichAreNoAccountsAreMissing) {
  EXPECT_THAT(exported(), HasSubstr("// Entries of network directories that are no accounts"));
}

TEST_F(LdapExport, IsAwayInTheWorldAsItIsOnTheMachine) {
  admitStaff();
  server->stop();
  const auto text = exported();
  EXPECT_THAT(text, HasSubstr("\"away\": "));
  // A machine logs when it first fails to reach one, and whose home it can't find for that.
  expectSame(text, {.hasLogs = false});
}

TEST_F(LdapExport, IsIgnoredInTheWorldAsItIsOnTheMachine) {
  setDirectory("tls = \"off\"\nwhen-away = \"ignore\"\n");
  server->stop();
  expectSame(exported(), {.hasLogs = false});  // as above
}

}  // namespace
}  // namespace gatehall
