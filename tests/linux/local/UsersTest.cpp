#include <gmock/gmock.h>

#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

constexpr std::string_view kPasswd =
    "root:x:0:0:root:/root:/bin/bash\n"
    "daemon:x:1:1:daemon:/usr/sbin:/usr/sbin/nologin\n"
    "ann:x:1000:1000:& Owner,Room 1,,:/home/ann:/bin/bash\n"
    "bob:x:1001:1001::/home/bob:\n"
    "carol:x:1002:100:Carol:/home/carol:/bin/zsh\n"
    "gus:x:1001:1001:Same id as bob:/home/gus:/bin/sh\n";

class LocalUsers : public testing::Test {
 protected:
  LocalUsers() { machine.write("/etc/passwd", kPasswd); }
  Machine machine;
};

}  // namespace

TEST_F(LocalUsers, AreFoundByUserIDInTheOrderOfTheFile) {
  EXPECT_THAT(machine.names(record::Users, "UniqueID", MatchType::EqualTo, {"1001"}),
              ElementsAre("bob", "gus"));
  EXPECT_THAT(machine.names(record::Users, "lxAttrTypeStandard:UniqueID", MatchType::EqualTo,
                            {"1000", "0"}),
              ElementsAre("root", "ann"));
}

TEST_F(LocalUsers, AreNotFoundByAUserIDThatIsSpelledOtherwise) {
  for (const auto* text :
       {"01000", "+1000", " 1000", "1000 ", "0x3e8", "", "4294968296", "-1", "4294967295"}) {
    EXPECT_THAT(machine.names(record::Users, "UniqueID", MatchType::EqualTo, {text}), IsEmpty())
        << text;
  }
}

TEST_F(LocalUsers, AreFoundByName) {
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::EqualTo, {"carol", "ann"}),
              ElementsAre("ann", "carol"));
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::EqualTo, {"Ann"}), IsEmpty());
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::EqualTo, {"an"}), IsEmpty());
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::EqualTo, {""}), IsEmpty());
}

TEST_F(LocalUsers, AreFoundByNameIgnoringCaseAndByPartsOfIt) {
  EXPECT_THAT(
      machine.names(record::Users, "RecordName", MatchType::EqualToIgnoringCase, {"ANN", "Bob"}),
      ElementsAre("ann", "bob"));
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::Contains, {"o"}),
              ElementsAre("root", "daemon", "bob", "carol"));
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::Contains, {"O"}), IsEmpty());
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::ContainsIgnoringCase, {"RO"}),
              ElementsAre("root", "carol"));
}

TEST_F(LocalUsers, AreAllListedUnderEveryMatch) {
  for (const auto match : {MatchType::EqualTo, MatchType::EqualToIgnoringCase, MatchType::Contains,
                           MatchType::ContainsIgnoringCase}) {
    EXPECT_THAT(machine.names(record::Users, "RecordName", match, {"lxRecordsAll"}),
                ElementsAre("root", "daemon", "ann", "bob", "carol", "gus"));
  }
}

TEST_F(LocalUsers, AreFoundByEveryOtherKind) {
  EXPECT_THAT(machine.names(record::Users, "PrimaryGroupID", MatchType::EqualTo, {"1001"}),
              ElementsAre("bob", "gus"));
  EXPECT_THAT(machine.names(record::Users, "FullName", MatchType::ContainsIgnoringCase, {"owner"}),
              ElementsAre("ann"));
  EXPECT_THAT(machine.names(record::Users, "UniqueID", MatchType::Contains, {"00"}),
              ElementsAre("ann", "bob", "carol", "gus"));
  EXPECT_THAT(machine.names(record::Users, "UserShell", MatchType::EqualTo, {"/usr/bin/false"}),
              ElementsAre("daemon", "carol"));
  EXPECT_THAT(machine.names(record::Users, "NoSuchKind", MatchType::EqualTo, {"1"}), IsEmpty());
}

TEST_F(LocalUsers, AreFoundByGUIDWhetherItWasHandedOutBeforeOrNot) {
  const auto guid = values(machine.user("carol"), "GUID");
  ASSERT_EQ(guid.size(), 1U);
  EXPECT_THAT(machine.names(record::Users, "GUID", MatchType::EqualTo, guid), ElementsAre("carol"));

  LinuxDirectory fresh(machine.options, machine.log, machine.clock);
  const auto node = fresh.defaultSession()->nodeByType(NodeType::Local);
  const auto found =
      node->query({{"Users"}, "GUID", MatchType::EqualTo, guid, {}, 0})->results(false);
  ASSERT_EQ(found->size(), 1U);
  EXPECT_THAT(values(found->front(), "RecordName"), ElementsAre("carol"));
}

TEST_F(LocalUsers, AreNotFoundByAGUIDThatNoLocalAccountCanHave) {
  EXPECT_THAT(machine.names(record::Users, "GUID", MatchType::EqualTo,
                            {"6C6B2F1E-0000-4000-8000-000000001001", "", "not a GUID"}),
              IsEmpty());
}

TEST_F(LocalUsers, AreFoundByAGUIDInLowerCaseWhichTheyHandOutInUpperCase) {
  auto lower = values(machine.user("ann"), "GUID").front();
  for (auto& c : lower) c = static_cast<char>(std::tolower(c));
  EXPECT_THAT(machine.names(record::Users, "GUID", MatchType::EqualTo, {lower}),
              ElementsAre("ann"));
}

TEST_F(LocalUsers, AreAtMostAsManyAsAskedFor) {
  EXPECT_THAT(machine.names(record::Users, "RecordName", MatchType::EqualTo, {"lxRecordsAll"}, 2),
              ElementsAre("root", "daemon"));
  EXPECT_THAT(machine.names(record::Users, "FullName", MatchType::Contains, {"o"}, 1),
              ElementsAre("root"));
}

TEST_F(LocalUsers, OfOneNameAreTheFirstWhenAskedForByName) {
  machine.write("/etc/passwd", std::string(kPasswd) + "ann:x:7:7::/:/bin/sh\n");
  EXPECT_THAT(values(machine.user("ann"), "UniqueID"), ElementsAre("1000"));
  EXPECT_EQ(machine.find("Users", "RecordName", MatchType::EqualTo, {"ann", "bob"}).size(), 2U);
}

TEST_F(LocalUsers, HaveTheValuesOfTheirLine) {
  const auto ann = machine.user("ann");
  EXPECT_EQ(ann->recordType(), "Users");
  EXPECT_THAT(values(ann, "RecordName"), ElementsAre("ann"));
  EXPECT_THAT(values(ann, "UniqueID"), ElementsAre("1000"));
  EXPECT_THAT(values(ann, "PrimaryGroupID"), ElementsAre("1000"));
  EXPECT_THAT(values(ann, "FullName"), ElementsAre("Ann Owner"));
  EXPECT_THAT(values(ann, "UserShell"), ElementsAre("/bin/bash"));
  EXPECT_THAT(values(ann, "NFSHomeDirectory"), ElementsAre("/home/ann"));
  EXPECT_THAT(values(ann, "MetaNodeLocation"), ElementsAre("local"));
  EXPECT_FALSE(ann->valuesForAttribute("HomeDirectory"));
  EXPECT_FALSE(ann->valuesForAttribute("TavloSettings"));
  EXPECT_FALSE(machine.user("bob")->valuesForAttribute("FullName"));
  EXPECT_FALSE(machine.user("nobody"));
}

TEST_F(LocalUsers, HaveAShellOnlyIfOneCanLogInWithIt) {
  EXPECT_THAT(values(machine.user("bob"), "UserShell"), ElementsAre("/bin/sh"));
  EXPECT_THAT(values(machine.user("daemon"), "UserShell"), ElementsAre("/usr/bin/false"));
  EXPECT_THAT(values(machine.user("carol"), "UserShell"), ElementsAre("/usr/bin/false"));
  machine.write("/etc/shells", "/bin/zsh\n/usr/sbin/nologin\n");
  EXPECT_THAT(values(machine.user("carol"), "UserShell"), ElementsAre("/bin/zsh"));
  EXPECT_THAT(values(machine.user("daemon"), "UserShell"), ElementsAre("/usr/bin/false"));
  machine.remove("/etc/shells");
  EXPECT_THAT(values(machine.user("gus"), "UserShell"), ElementsAre("/bin/sh"));
  EXPECT_THAT(values(machine.user("carol"), "UserShell"), ElementsAre("/usr/bin/false"));
}

TEST_F(LocalUsers, HaveTheGUIDOfTheMachineAndTheUserID) {
  // uuid.uuid5(uuid.UUID(hex="0123456789abcdef0123456789abcdef"), "user:1000")
  EXPECT_THAT(values(machine.user("ann"), "GUID"),
              ElementsAre("E9820678-888A-583F-A3F9-27865F97728B"));
  EXPECT_EQ(values(machine.user("bob"), "GUID"), values(machine.user("gus"), "GUID"));

  Machine other;
  other.write("/etc/passwd", kPasswd);
  other.write("/etc/machine-id", "ffffffffffffffffffffffffffffffff\n");
  EXPECT_NE(values(other.user("ann"), "GUID"), values(machine.user("ann"), "GUID"));
}

TEST_F(LocalUsers, HaveAGUIDWithoutAMachineIDAndTheLogSaysSo) {
  machine.remove("/etc/machine-id");
  EXPECT_THAT(values(machine.user("ann"), "GUID"),
              ElementsAre("A6159ED2-EEE9-5A6F-9469-AB41FF77CF6B"));
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/machine-id: No such file or directory; the GUIDs of local accounts "
                          "are not this machine's own"));
}

TEST_F(LocalUsers, CanNotBeToldByAGUIDWhileTheMachinesIDCanNotBeRead) {
  const auto anns = values(machine.user("ann"), "GUID");
  Machine other;
  other.write("/etc/passwd", kPasswd);
  other.write("/etc/group", "staff:x:50:\n");
  other.write("/etc/machine-id", "0123456789abcdef\n");
  for (const auto type : {record::Users, record::Groups}) {
    EXPECT_THAT(
        [&] { other.find(type, "GUID", MatchType::EqualTo, anns); },
        testing::ThrowsMessage<PlatformException>("/etc/machine-id:1: not 32 hexadecimal digits"));
  }
  EXPECT_THAT(values(other.user("ann"), "GUID"), testing::Not(IsEmpty()))
      << "who is still an administrator";
}

TEST_F(LocalUsers, GiveAllTheirValuesOrThoseListed) {
  const auto all = machine.user("ann")->recordDetails({});
  ASSERT_TRUE(all);
  EXPECT_EQ(all->at("UniqueID"), Value(Strings{"1000"}));
  EXPECT_EQ(all->at("Password"), Value(Strings{"*"}));
  EXPECT_FALSE(all->contains("Picture"));
  const auto some = machine.user("ann")->recordDetails(
      {"lxAttrTypeStandard:GUID", "UniqueID", "UniqueID", "Picture"});
  ASSERT_TRUE(some);
  EXPECT_EQ(some->size(), 2U);
  EXPECT_TRUE(some->contains("GUID"));
}

TEST_F(LocalUsers, AreReadAgainWhenSynchronized) {
  const auto ann = machine.user("ann");
  machine.write("/etc/passwd", "ann:x:1000:1000:Ann Other:/home/ann:/bin/bash\n");
  machine.write("/etc/shadow", "ann::19000:0:99999:7:::\n");
  EXPECT_THAT(values(ann, "FullName"), ElementsAre("Ann Owner"));
  EXPECT_TRUE(ann->synchronize());
  EXPECT_THAT(values(ann, "FullName"), ElementsAre("Ann Other"));
  EXPECT_THAT(values(ann, "Password"), ElementsAre("********"));
  machine.write("/etc/passwd", "");
  EXPECT_FALSE(ann->synchronize());
}

TEST_F(LocalUsers, CanNotBeWrittenTo) {
  EXPECT_FALSE(machine.user("ann")->setValue("Someone", "FullName"));
  EXPECT_THAT(values(machine.user("ann"), "FullName"), ElementsAre("Ann Owner"));
}

TEST_F(LocalUsers, AreNotDeniedToExistWhenTheirLineCanNotBeRead) {
  const auto by = [&](const char* kind, const std::string& value) {
    return machine.names("Users", kind, MatchType::EqualTo, {value});
  };
  machine.write("/etc/passwd", "ann:x:1000:1000::/home/ann:/bin/sh\n");
  const auto guid = values(machine.user("ann"), "GUID").front();
  for (const auto& line :
       {"ann:x:1000:1000::/home/ann"s, "ann:x:1000:none::/home/ann:/bin/sh"s,
        "ann:x:10O0:1000::/home/ann:/bin/sh"s, "a\0nn:x:1000:1000::/home/ann:/bin/sh"s}) {
    machine.write("/etc/passwd", line + "\nbob:x:1001:1001::/home/bob:/bin/sh\n");
    EXPECT_THROW(machine.user("ann"), PlatformException) << line;
    EXPECT_THROW(by("UniqueID", "1000"), PlatformException) << line;
    EXPECT_THROW(by("GUID", guid), PlatformException) << line;
    EXPECT_THAT(by("UniqueID", "1001"), ElementsAre("bob")) << line;
    EXPECT_TRUE(machine.user("bob")) << line;
    EXPECT_FALSE(machine.user("carol")) << line;
    EXPECT_THAT(machine.allUsers(), ElementsAre("bob")) << line;
    machine.write("/etc/passwd", line + "\nann:x:1000:1000::/home/ann:/bin/sh\n");
    EXPECT_TRUE(machine.user("ann")) << "another line answers: " << line;
    EXPECT_THAT(by("UniqueID", "1000"), ElementsAre("ann")) << line;
  }
  machine.write("/etc/passwd",
                "\xEF\xBB\xBF"
                "ann:x:1000:1000::/home/ann:/bin/sh\n");
  EXPECT_THROW(machine.user("ann"), PlatformException) << "a mark in front";
  machine.write("/etc/passwd", "long:x:1:1:" + std::string(70000, 'a') + ":/:/bin/sh\n");
  EXPECT_THROW(machine.user("ann"), PlatformException) << "whose line it is can't be told";
  EXPECT_THROW(by("UniqueID", "1000"), PlatformException);
}

TEST_F(LocalUsers, HaveNoShellWhenTheListOfShellsIsThereAndCanNotBeRead) {
  machine.remove("/etc/shells");
  EXPECT_THAT(values(machine.user("ann"), "UserShell"), ElementsAre("/usr/bin/false"));
  ASSERT_EQ(mkfifo(machine.path("/etc/shells").c_str(), 0644), 0);
  EXPECT_THROW(values(machine.user("ann"), "UserShell"), PlatformException);
}

}  // namespace gatehall
