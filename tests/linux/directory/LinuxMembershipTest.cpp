#include <gmock/gmock.h>
#include <ostream>

#include "linux/directory/LinuxMembership.h"
#include "portable/NameBasedUUID.h"
#include "tests/linux/directory/MachineNode.h"

namespace gatehall {

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kAway = "ldap/example: can't be asked: ldap://127.0.0.1:389: timed out";

/// A group whose members its directory can't tell any more.
class FadingGroup final : public DirectoryRecord {
 public:
  std::string recordType() override { return std::string(record::Groups); }
  std::optional<Strings> valuesForAttribute(std::string_view) override { fade(); }
  std::optional<Dictionary> recordDetails(const Strings&) override { fade(); }
  bool setValue(std::string_view, std::string_view) override { return false; }
  bool verifyPassword(std::string_view, DirectoryError&) override { return false; }
  bool changePassword(std::string_view, std::string_view, DirectoryError&) override {
    return false;
  }
  bool isMember(DirectoryRecord&) override { fade(); }
  std::optional<Dictionary> passwordPolicy() override { return std::nullopt; }
  bool synchronize() override { return false; }

 private:
  [[noreturn]] static void fade() { throw PlatformException(kAway); }
};

enum class Answer { Admitted, Refused, NoList };

/// What becomes of ann, who is local, and of dana, whose directory is "ldap/example".
struct Case {
  const char* name;
  const char* localGroup;    ///< "-": none, else the members
  const char* exampleGroup;  ///< of the directory that dana is in; "fading" tells no member
  const char* otherGroup;
  const char* away;  ///< which directories can't be asked, by their first letters
  Answer ann;
  Answer dana;
};

void PrintTo(const Case& each, std::ostream* out) { *out << each.name; }

using enum Answer;

const Case kCases[] = {
    {"NoListAnywhere", "-", "-", "-", "", NoList, NoList},
    {"LocalList", "ann", "-", "-", "", Admitted, Refused},
    {"LocalListOfANetworkAccount", "dana", "-", "-", "", Refused, Admitted},
    {"NetworkList", "-", "dana", "-", "", Refused, Admitted},
    {"NetworkListOfALocalAccount", "-", "ann", "-", "", Admitted, Refused},
    {"ListsAddUp", "ann", "dana", "-", "", Admitted, Admitted},

    {"NoListWhileHerDirectoryIsAway", "-", "-", "-", "e", NoList, Refused},
    {"HiddenListWhileItsDirectoryIsAway", "-", "dana", "-", "e", NoList, Refused},
    {"NoListWhileAnotherDirectoryIsAway", "-", "-", "-", "o", NoList, Refused},
    {"HiddenListOfAnotherDirectoryThatIsAway", "-", "-", "dana", "o", NoList, Refused},
    {"ListOfADirectoryThatIsThere", "-", "dana", "-", "o", Refused, Admitted},
    {"ListOfAnotherDirectoryThanHers", "-", "-", "ann", "e", Admitted, Refused},

    {"LocalListWhileHerDirectoryIsAway", "ann", "-", "-", "e", Admitted, Refused},
    {"LocalListOfHerWhileHerDirectoryIsAway", "dana", "-", "-", "e", Refused, Refused},
    {"LocalListOfHerWhileAnotherDirectoryIsAway", "dana", "-", "-", "o", Refused, Admitted},
    {"LocalListBesideAHiddenOne", "ann", "dana", "-", "e", Admitted, Refused},
    {"LocalListOfNobodyBesideAHiddenOne", "", "ann,dana", "-", "e", Refused, Refused},
    {"NothingButLocalWhileAllAreAway", "ann", "-", "-", "eo", Admitted, Refused},

    {"LocalListBesideOneThatFades", "ann", "fading", "-", "", Admitted, Refused},
    {"LocalListOfHerBesideOneThatFades", "dana", "fading", "-", "", Refused, Admitted},
    {"OneThatFades", "-", "fading", "-", "", Refused, Refused},
};

class LinuxMembershipTest : public testing::Test {
 protected:
  LinuxMembershipTest() {
    machine.write("/etc/passwd", "ann:x:1000:1000::/home/ann:/bin/sh\n");
    example->machine.write("/etc/passwd", "dana:x:5000:5000::/home/dana:/bin/sh\n");
  }

  static void writeGroup(const Machine& where, const std::string& members) {
    where.write("/etc/group", members == "-" ? "" : "gatehall-access:x:9:" + members + "\n");
  }

  Answer ask(DirectoryRecord& user) {
    Identifier identifier{};
    const auto guid = user.valuesForAttribute(attribute::GUID)->front();
    EXPECT_EQ(membership.guidToIdentifier(guid, identifier), 0);
    bool isMember = false;
    const int status = membership.checkServiceMembership(identifier, "gatehall", isMember);
    if (status == MembershipService::kNoAccessList) return NoList;
    EXPECT_TRUE(status == 0 || status == LinuxMembership::kUnavailable);
    return status == 0 && isMember ? Admitted : Refused;
  }

  Machine machine;
  std::shared_ptr<MachineNode> example = std::make_shared<MachineNode>("ldap/example");
  std::shared_ptr<MachineNode> other = std::make_shared<MachineNode>("ldap/other");
  LinuxDirectory directory{machine.options, machine.log, machine.clock, {example, other}};
  LinuxMembership membership{directory, machine.log};
};

class LinuxMembershipAnswers : public LinuxMembershipTest,
                               public testing::WithParamInterface<Case> {};

}  // namespace

TEST_P(LinuxMembershipAnswers, AdmitNobodyWhomTheGoodDayWouldRefuseAndSayWhy) {
  const auto& each = GetParam();
  const auto ann = machine.user("ann");
  const auto dana = example->machine.user("dana");
  writeGroup(machine, each.localGroup);
  const bool isFading = std::string_view(each.exampleGroup) == "fading";
  if (isFading) {
    example->group = std::make_shared<FadingGroup>();
  } else {
    writeGroup(example->machine, each.exampleGroup);
  }
  writeGroup(other->machine, each.otherGroup);
  const std::string_view away = each.away;
  if (away.find('e') != std::string_view::npos) example->away = kAway;
  if (away.find('o') != std::string_view::npos) other->away = kAway;

  EXPECT_EQ(ask(*ann), each.ann);
  EXPECT_EQ(ask(*dana), each.dana);
  const auto guid = values(dana, "GUID").front();
  if (each.dana == Refused && (isFading || !away.empty())) {
    EXPECT_THAT(machine.log.lines(),
                Contains("the access list of gatehall for " + guid + ": " + kAway));
  } else {
    EXPECT_THAT(machine.log.lines(), testing::Each(testing::Not(HasSubstr(guid))));
  }
  if (away.empty() && !isFading) {
    EXPECT_THAT(machine.log.lines(), IsEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(Doors, LinuxMembershipAnswers, testing::ValuesIn(kCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(LinuxMembershipTest, RefuseEverybodyWhileTheGroupFileCannotBeRead) {
  machine.remove("/etc/group");
  std::filesystem::create_directory(machine.path("/etc/group"));
  EXPECT_EQ(ask(*machine.user("ann")), Refused);
  EXPECT_EQ(ask(*example->machine.user("dana")), Refused);
  EXPECT_THAT(machine.log.lines(), Contains(HasSubstr("/etc/group")));
  example->away = kAway;
  EXPECT_EQ(ask(*machine.user("ann")), Refused);
}

TEST_F(LinuxMembershipTest, TakeADirectoryThatIsIgnoredWhenAwayForAbsent) {
  example->isIgnored = true;
  example->away = kAway;
  EXPECT_EQ(ask(*machine.user("ann")), NoList);
  EXPECT_EQ(ask(*example->machine.user("dana")), NoList);
  writeGroup(machine, "ann,dana");
  EXPECT_EQ(ask(*example->machine.user("dana")), Refused) << "nobody has that GUID";
}

TEST_F(LinuxMembershipTest, GiveNobodyTheIdentifierOfZeros) {
  machine.write("/etc/userdb/zoe.user",
                R"({"userName": "zoe", "uid": 1500, "uuid": "00000000000000000000000000000000"})");
  Identifier identifier{};
  EXPECT_EQ(membership.userIDToIdentifier(1500, identifier), 0);
  EXPECT_NE(identifier, Identifier{});
}

TEST_F(LinuxMembershipTest, TellTheIdentifierOfAUserIDOnlyWhenWhoHasItIsCertain) {
  Identifier identifier{};
  example->away = kAway;
  EXPECT_EQ(membership.userIDToIdentifier(1000, identifier), 0);
  EXPECT_EQ(membership.userIDToIdentifier(5000, identifier), LinuxMembership::kUnavailable);
  EXPECT_THAT(machine.log.lines(), Contains("user id 5000: " + std::string(kAway)));
  example->away.reset();
  EXPECT_EQ(membership.userIDToIdentifier(5000, identifier), 0);
  EXPECT_EQ(uuidText(identifier), values(example->machine.user("dana"), "GUID").front());
}

}  // namespace gatehall
