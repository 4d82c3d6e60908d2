#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

#include "ctl/doors/AtDoor.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall {
namespace {

using ctl::ExitStatus;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

constexpr std::string_view kClosed =
    R"(, "managed": { "com.orvane.gatehall": { "LocalUserLoginEnabled": false } })";

TEST(AtDoor, WhoIsRefusedIsShownTheSentence) {
  const auto outcome = runIn(household(kClosed), {"can-log-in", "--at", "sshd", "1000", "1001"});
  EXPECT_EQ(outcome.output,
            "UID   NAME  ALLOWED  RULE                  SOURCE\n"
            "1000  ann   yes      administrator         -\n"
            "1001  bob   no       local login disabled  managed\n"
            "      You may not log in on this computer: its own accounts are closed\n"
            "      to all but administrators.\n"
            "\n"
            "1 of 2 users may log in at sshd\n");
  EXPECT_EQ(outcome.status, ExitStatus::No);
}

TEST(AtDoor, ADocumentHoldsTheDoorAndItsAnswers) {
  const auto outcome =
      runIn(household(kClosed), {"--json", "can-log-in", "--at", "login", "1000", "1001", "1002"});
  EXPECT_EQ(documentOf(outcome), Json::parse(R"({
      "door": {"service": "login", "guarded": "yes", "file": null,
               "modules": [{"file": null, "line": null, "arguments": []}]},
      "users": [
        {"uid": 1000, "name": "ann", "allowed": true, "rule": "never shut out", "source": null,
         "sentence": null},
        {"uid": 1001, "name": "bob", "allowed": false, "rule": "local login disabled",
         "source": "managed", "sentence":
         "You may not log in on this computer: its own accounts are closed to all but administrators."},
        {"uid": 1002, "name": null, "allowed": false, "rule": "no such account", "source": null,
         "sentence": null}]})"));
}

TEST(AtDoor, EndsWithStatus0WhenEverybodyIsLetIn) {
  EXPECT_EQ(runIn(household(), {"can-log-in", "--at", "lightdm", "1000", "1001"}).status,
            ExitStatus::Done);
}

TEST(AtDoor, ThatIsNotGuardedHasNoAnswer) {
  const auto outcome = runIn(household(), {"can-log-in", "--at", "sudo", "1001"});
  EXPECT_EQ(outcome.output,
            "UID   NAME  ALLOWED  RULE         SOURCE\n"
            "1001  bob   -        not guarded  -\n"
            "\n"
            "sudo is not guarded: whoever it lets in gets in\n");
  EXPECT_EQ(outcome.errors, "gatehallctl: sudo isn't guarded: pam_gatehall.so leaves it out\n");
  EXPECT_EQ(outcome.status, ExitStatus::No);
}

TEST(AtDoor, IsUndecidableWithTheReasonAndStatus3) {
  const auto faults =
      R"(, "faults": [ { "operation": "applicationBoolean", "raise": "platform" } ])";
  const auto outcome =
      runIn(household(faults), {"--json", "can-log-in", "--at", "login", "1001", "1000", "1002"});
  EXPECT_EQ(outcome.status, ExitStatus::HostFailure) << "also with somebody who isn't found";
  const auto users = documentOf(outcome)["users"];
  EXPECT_EQ(users[0]["rule"], "undecidable");
  EXPECT_EQ(users[0]["allowed"], false);
  EXPECT_NE(users[0]["reason"], "");
  EXPECT_THAT(users[0]["sentence"].get<std::string>(), HasSubstr("can't be told"));
  EXPECT_EQ(users[1]["allowed"], true) << "who is never shut out";
  EXPECT_THAT(outcome.errors, HasSubstr("1001 is undecidable: "));
}

/// The answers of a door of which a test says what it is, in a world.
ctl::Answer answersOf(const ctl::DoorState& door, std::string_view sections,
                      const Strings& operands) {
  const WorldFileOnDisk file(household(sections));
  const ctl::Host host({.world = file.path()}, Trace::Keeps::LastOperation);
  std::vector<Meant> asked;
  for (const auto& each : operands) asked.push_back(accountMeant(host.accounts(), each));
  return answersAtDoor(host, door, asked);
}

ctl::DoorState doorWith(const Strings& arguments) {
  auto door = ctl::guardedDoor("login");
  door.guards.front() = {{"/etc/pam.d/login", 3}, arguments};
  return door;
}

constexpr std::string_view kUndecidable =
    R"(, "faults": [ { "operation": "applicationBoolean", "raise": "platform" } ])";

TEST(AtDoor, AdmitsTheUndecidableWhereTheModulesArgumentsSay) {
  const auto answer = answersOf(doorWith({"on-undecidable=admit"}), kUndecidable, {"1001"});
  EXPECT_EQ(answer.json["users"][0]["allowed"], true);
  EXPECT_EQ(answer.json["users"][0]["rule"], "undecidable");
  EXPECT_TRUE(answer.json["users"][0]["sentence"].is_null());
  EXPECT_EQ(answer.status, ExitStatus::Done);
  EXPECT_EQ(answer.messages.size(), 1U) << "why it is undecidable";
}

TEST(AtDoor, LeavesAllUndecidableByArgumentsThatCantBeUsedButWhoIsNeverShutOut) {
  const auto answer = answersOf(doorWith({"hours=maybe"}), "", {"1000", "1001"});
  EXPECT_EQ(answer.json["users"][0]["allowed"], true);
  EXPECT_EQ(answer.json["users"][1]["allowed"], false);
  EXPECT_EQ(answer.json["users"][1]["reason"],
            R"(/etc/pam.d/login:3: "hours=maybe" is neither "yes" nor "no")");
  EXPECT_EQ(answer.status, ExitStatus::HostFailure);
}

TEST(AtDoor, RefusesOutsideOfLoginHoursWhereTheModulesArgumentsSay) {
  constexpr std::string_view kNight = R"(, "parentalControls": { "1001": { "allowed": false } })";
  EXPECT_EQ(answersOf(doorWith({}), kNight, {"1001"}).status, ExitStatus::Done);
  const auto answer = answersOf(doorWith({"hours=yes"}), kNight, {"1001"});
  EXPECT_EQ(answer.json["users"][0]["rule"], "outside of login hours");
  EXPECT_EQ(answer.status, ExitStatus::No);
}

TEST(AtDoor, IsAnsweredForByEachLineOfTheModuleUntilOneRefuses) {
  auto door = doorWith({"on-undecidable=admit"});
  door.guards.push_back({{"/etc/pam.d/common-account", 1}, {}});
  EXPECT_EQ(answersOf(door, kUndecidable, {"1001"}).json["users"][0]["allowed"], false);
  std::swap(door.guards[0], door.guards[1]);
  EXPECT_EQ(answersOf(door, kUndecidable, {"1001"}).json["users"][0]["allowed"], false);
}

TEST(AtDoor, ThatIsShutLetsNobodyIn) {
  ctl::DoorState door{.service = "login"};
  door.passage.guard = pam::Guard::Shut;
  const auto answer = answersOf(door, "", {"1000"});
  EXPECT_EQ(answer.json["users"][0]["allowed"], false);
  EXPECT_EQ(answer.json["users"][0]["rule"], "shut");
  EXPECT_EQ(answer.status, ExitStatus::No);
}

TEST(AtDoor, ThatCantBeToldOfIsUndecidable) {
  ctl::DoorState door{.service = "login"};
  door.unreadable = "/etc/pam.d/login: Permission denied";
  const auto answer = answersOf(door, "", {"1001"});
  EXPECT_EQ(answer.json["users"][0]["reason"], door.unreadable);
  EXPECT_EQ(answer.status, ExitStatus::HostFailure);
  EXPECT_EQ(answer.messages, Strings{"login can't be told of: " + door.unreadable});
}

TEST(AtDoor, IsAServiceInAnyCase) {
  EXPECT_EQ(documentOf(runIn(household(),
                             {"--json", "can-log-in", "--at", "SSHd", "1001"}))["door"]["service"],
            "sshd");
}

TEST(AtDoor, OfWhatIsNoServicesNameIsWrongUsage) {
  for (const auto* name : {"../passwd", "", ".."}) {
    EXPECT_EQ(runIn(household(), {"can-log-in", "--at", name, "1001"}).status,
              ExitStatus::WrongUsage)
        << name;
  }
}

}  // namespace
}  // namespace gatehall
