#include <gmock/gmock.h>
#include <random>

#include "linux/accounts/AccountLine.h"
#include "linux/accounts/Group.h"
#include "linux/accounts/Passwd.h"
#include "linux/accounts/Shadow.h"
#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;
using namespace std::string_view_literals;

}  // namespace

TEST(PasswdLine, IsReadFieldByField) {
  std::string fault;
  const auto entry = parsePasswdLine("ann:x:1000:100:Ann,,:/home/ann:/bin/sh", fault);
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->name, "ann");
  EXPECT_EQ(entry->password, "x");
  EXPECT_EQ(entry->userID, 1000U);
  EXPECT_EQ(entry->groupID, 100U);
  EXPECT_EQ(entry->gecos, "Ann,,");
  EXPECT_EQ(entry->homeDirectory, "/home/ann");
  EXPECT_EQ(entry->shell, "/bin/sh");
  EXPECT_EQ(parsePasswdLine("max:x:4294967294:0:::", fault)->userID, 4294967294U);
}

TEST(PasswdLine, IsRefusedWithTheReason) {
  const std::pair<std::string_view, const char*> cases[] = {
      {"a:x:4294967296:0:::", "user id 4294967296 is out of range"},
      {"a:x:4294967295:0:::", "user id 4294967295 is out of range"},
      {"a:x:-1:0:::", "user id -1 is out of range"},
      {"a:x:0:-2:::", "group id -2 is out of range"},
      {"a:x:99999999999999999999:0:::", "user id 99999999999999999999 is out of range"},
      {"a:x::0:::", "user id \"\" is not a number"},
      {"a:x:1o:0:::", "user id \"1o\" is not a number"},
      {"a:x: 1:0:::", "user id \" 1\" is not a number"},
      {"a:x:+1:0:::", "user id \"+1\" is not a number"},
      {"a:x:0x10:0:::", "user id \"0x10\" is not a number"},
      {"a", "the line has 1 fields instead of 7"},
      {"a:x:1:1::/", "the line has 6 fields instead of 7"},
      {"a:x:1:1:::/bin/sh:", "the line has 8 fields instead of 7"},
      {":x:1:1:::", "the name is empty"},
      {"a\0b:x:1:1:::"sv, "the line holds a NUL byte"},
      {"a:x:1\x1b[2J:1:::", "user id \"1?[2J\" is not a number"},
  };
  for (const auto& [line, reason] : cases) {
    std::string fault;
    EXPECT_FALSE(parsePasswdLine(line, fault)) << line;
    EXPECT_EQ(fault, reason);
  }
}

TEST(PasswdLine, HasAFullNameUpToTheFirstCommaWithTheLoginNameForAnAmpersand) {
  EXPECT_EQ(fullNameOfGecos("Ann Lee,Room 1,,", "ann"), "Ann Lee");
  EXPECT_EQ(fullNameOfGecos("& Lee", "ann"), "Ann Lee");
  EXPECT_EQ(fullNameOfGecos("&&", "ann"), "AnnAnn");
  EXPECT_EQ(fullNameOfGecos("& &", "_x"), "_x _x");
  EXPECT_EQ(fullNameOfGecos("&", ""), "");
  EXPECT_EQ(fullNameOfGecos(",&", "ann"), "");
  EXPECT_EQ(fullNameOfGecos("Zoë & Åsa", "zoë"), "Zoë Zoë Åsa");
}

TEST(ShadowLine, IsReadFieldByField) {
  std::string fault;
  const auto entry = parseShadowLine("ann:$y$x:19000:1:90:7:14:20000:", fault);
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->hash, "$y$x");
  EXPECT_EQ(entry->lastChangeDay, 19000);
  EXPECT_EQ(entry->maximumDays, 90);
  EXPECT_EQ(entry->inactiveDays, 14);
  EXPECT_EQ(entry->expiryDay, 20000);
  const auto bare = parseShadowLine("ann:::::::-1:", fault);
  ASSERT_TRUE(bare);
  EXPECT_EQ(bare->hash, "");
  EXPECT_FALSE(bare->lastChangeDay || bare->maximumDays || bare->inactiveDays || bare->expiryDay);
}

TEST(ShadowLine, IsRefusedWithTheReason) {
  std::string fault;
  EXPECT_FALSE(parseShadowLine("ann:x", fault));
  EXPECT_EQ(fault, "the line has 2 fields instead of 9");
  EXPECT_FALSE(parseShadowLine("ann:x:19000:0:99999:7::soon:", fault));
  EXPECT_EQ(fault, "expiry date is not a number of days");
  EXPECT_FALSE(parseShadowLine("ann:x:-3:0:99999:7:::", fault));
  EXPECT_FALSE(parseShadowLine("ann:x:1:0:4294967296:7:::", fault));
}

TEST(ShadowLine, IsRefusedWithoutAWordOfItsFieldsOneOfWhichMayBeAHash) {
  std::string fault;
  EXPECT_FALSE(parseShadowLine("ann:x:$6$salt$hash::::::", fault));
  EXPECT_EQ(fault, "last change is not a number of days");
}

TEST(GroupLine, IsReadFieldByField) {
  std::string fault;
  const auto entry = parseGroupLine("staff:x:50:ann,,bob,", fault);
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->name, "staff");
  EXPECT_EQ(entry->groupID, 50U);
  Strings members;
  eachMember(entry->members, [&](std::string_view name) {
    members.emplace_back(name);
    return true;
  });
  EXPECT_THAT(members, ElementsAre("ann", "bob"));
  EXPECT_FALSE(parseGroupLine("staff:x:-1:", fault));
  EXPECT_EQ(fault, "group id -1 is out of range");
  EXPECT_FALSE(parseGroupLine("staff:x:1", fault));
}

TEST(AccountLines, OfAnyBytesAreReadOrRefusedWithAReason) {
  constexpr std::string_view kBytes = "::::::,,aZ0019-+#!*$&\0\r\n \x1b\xff\xc3\xa9"sv;
  std::mt19937 random(20241004);
  for (int time = 0; time < 200000; ++time) {
    std::string line;
    const auto length = random() % 48;
    while (line.size() < length) line += kBytes[random() % kBytes.size()];
    std::string fault;
    const auto passwd = parsePasswdLine(line, fault);
    ASSERT_EQ(passwd.has_value(), fault.empty());
    if (passwd) {
      ASSERT_NE(passwd->userID, UINT32_MAX);
      ASSERT_FALSE(passwd->name.empty());
      fullNameOfGecos(passwd->gecos, passwd->name);
    }
    const auto shadow = parseShadowLine(line, fault);
    ASSERT_EQ(shadow.has_value(), fault.empty());
    const auto group = parseGroupLine(line, fault);
    ASSERT_EQ(group.has_value(), fault.empty());
    if (group) eachMember(group->members, [](std::string_view name) { return !name.empty(); });
    for (std::size_t index = 0; index < 9; ++index) {
      const auto field = accountLine::field(line, index);
      ASSERT_GE(field.data(), line.data());
      ASSERT_LE(field.data() + field.size(), line.data() + line.size());
    }
  }
}

TEST(AccountFiles, AreReadAroundWhatIsWrongInThem) {
  Machine machine;
  machine.write("/etc/passwd",
                "# a comment\n"
                "\n"
                "ann:x:1000:1000::/home/ann:/bin/sh\r\n"
                "huge:x:4294967296:1::/:/bin/sh\n"
                "short:x:7\n"
                "+@netgroup::::::\n"
                "-mallory::::::\n"
                "nul\0l:x:9:9::/:/bin/sh\n"
                "bob:x:1001:1001::/home/bob:/bin/sh"sv);
  EXPECT_THAT(machine.allUsers(), ElementsAre("ann", "bob"));
  EXPECT_THAT(values(machine.user("ann"), "UserShell"), ElementsAre("/bin/sh"));
  EXPECT_THAT(machine.log.lines(), ElementsAre("/etc/passwd:4: user id 4294967296 is out of range",
                                               "/etc/passwd:5: the line has 3 fields instead of 7",
                                               "/etc/passwd:8: the line holds a NUL byte"));
}

TEST(AccountFiles, AreComplainedAboutOnceNotAtEveryLookup) {
  Machine machine;
  machine.write("/etc/passwd", "huge:x:4294967296:1::/:/bin/sh\n");
  for (int time = 0; time < 3; ++time) {
    EXPECT_THAT(machine.names("Users", "UniqueID", MatchType::EqualTo, {"5"}), IsEmpty());
  }
  EXPECT_THAT(machine.log.lines(),
              ElementsAre("/etc/passwd:1: user id 4294967296 is out of range"));
}

TEST(AccountFiles, SkipALineThatIsTooLongAndGoOnBehindIt) {
  Machine machine;
  const std::string longest =
      "ann:x:1000:1000:" + std::string(65534 - 34, 'A') + ":/home/ann:/bin/sh";
  machine.write("/etc/passwd", longest + "\nlong:x:1:1:" + std::string(300000, 'B') +
                                   ":/:/bin/sh\nbob:x:1001:1001::/home/bob:/bin/sh\n" +
                                   "end:x:1:1:" + std::string(70000, 'C'));
  EXPECT_THAT(machine.allUsers(), ElementsAre("ann", "bob"));
  EXPECT_THAT(machine.log.lines(), ElementsAre("/etc/passwd:2: the line is too long",
                                               "/etc/passwd:4: the line is too long"));
}

TEST(AccountFiles, MayNameManyMembersInOneLine) {
  Machine machine;
  std::string members;
  for (int index = 0; index < 70000; ++index) members += "user" + std::to_string(index) + ",";
  machine.write("/etc/group", "first:x:1:\nall:x:2:" + members + "\nlast:x:3:\n");
  EXPECT_EQ(values(machine.group("all"), "GroupMembership").size(), 70000U);
  EXPECT_TRUE(machine.group("last"));
}

TEST(AccountFiles, ThatDoNotExistRaiseButForWhoIsAnAdministrator) {
  Machine machine;
  machine.remove("/etc/group");
  EXPECT_THROW(machine.allGroups(), PlatformException);
  EXPECT_THROW(machine.group("gatehall-access"), PlatformException);
  EXPECT_TRUE(machine.group("admin")) << "root is, without any file";
  machine.remove("/etc/passwd");
  EXPECT_THROW(machine.allUsers(), PlatformException);
  EXPECT_THROW(machine.user("ann"), PlatformException);
}

TEST(AccountNames, ArePlainWithoutWhatIsBlankOrUnseen) {
  using accountLine::plainName;
  EXPECT_EQ(plainName("Größe-1"), "Größe-1");
  for (const auto& unseen :
       {" "s, "\t"s, "\r"s, "\v"s, "\x1F"s, "\x7F"s, "\0"s, "\xEF\xBB\xBF"s, "\xC2\xA0"s,
        "\xC2\x85"s, "\xC2\xAD"s, "\xE2\x80\x8B"s, "\xE2\x80\x8F"s, "\xE2\x80\xAE"s,
        "\xE2\x81\xA0"s, "\xE3\x80\x80"s, " \t\xEF\xBB\xBF"s}) {
    EXPECT_EQ(plainName(unseen + "ann"), "ann");
    EXPECT_EQ(plainName("ann" + unseen), "ann");
    EXPECT_EQ(plainName("a" + unseen + "nn"), "ann");
  }
  EXPECT_EQ(plainName("\xE2\x80"), "\xE2\x80") << "no whole character";
  EXPECT_EQ(plainName(""), "");
}

TEST(AccountFiles, ThatAreNoFilesRaiseAndDoNotHang) {
  Machine machine;
  machine.remove("/etc/passwd");
  ASSERT_EQ(mkfifo(machine.path("/etc/passwd").c_str(), 0644), 0);
  EXPECT_THROW(machine.allUsers(), PlatformException);
}

TEST(AccountFiles, OfAnyBytesAreReadWithoutHarm) {
  constexpr std::string_view kBytes = "::::::,,\n\n\r\0ab01-+#!*$"sv;
  std::mt19937 random(19700101);
  Machine machine;
  for (int time = 0; time < 60; ++time) {
    for (const auto* file : {"/etc/passwd", "/etc/shadow", "/etc/group", "/etc/shells"}) {
      std::string content;
      const auto length = random() % 3000;
      while (content.size() < length) {
        if (random() % 40 == 0) content += "\na:x:1:1:b:/a:/b\n";
        content += kBytes[random() % kBytes.size()];
      }
      machine.write(file, content);
    }
    for (const auto* type : {"Users", "Groups"}) {
      for (const auto& found : machine.find(type, "RecordName", MatchType::EqualTo,
                                            {"lxRecordsAll"}, {"Password", "GroupMembers"})) {
        ASSERT_TRUE(found->recordDetails({}));
        DirectoryError error;
        found->passwordPolicy();
        found->synchronize();
      }
    }
  }
}

}  // namespace gatehall
