#include <chrono>

#include "gatehall/base/PlatformException.h"
#include "linux/records/NetworkNode.h"
#include "tests/linux/nss/fixture/NameServiceMachine.h"

namespace gatehall {
namespace {

using nss::Type;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::ThrowsMessage;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

class NssNode : public testing::Test {
 protected:
  NameServiceMachine machine;

  Strings guids(Strings values, Strings types = {"Users", "Groups"}) {
    return NameServiceMachine::namesAt(*machine.node(), std::move(types), "GUID",
                                       MatchType::EqualTo, std::move(values));
  }
};

}  // namespace

TEST_F(NssNode, DescribesAUserAsTheServiceDoes) {
  const auto dana = machine.networkUser("dana");
  ASSERT_NE(dana, nullptr);
  EXPECT_THAT(values(dana, "UniqueID"), ElementsAre("20001"));
  EXPECT_THAT(values(dana, "PrimaryGroupID"), ElementsAre("20000"));
  EXPECT_THAT(values(dana, "FullName"), ElementsAre("Dana Fox"));
  EXPECT_THAT(values(dana, "NFSHomeDirectory"), ElementsAre("/home/dana"));
  EXPECT_THAT(values(dana, "UserShell"), ElementsAre("/bin/bash"));
  EXPECT_THAT(values(dana, "MetaNodeLocation"), ElementsAre("nss/site"));
  EXPECT_THAT(values(dana, "Password"), ElementsAre("********"));
  EXPECT_THAT(values(machine.networkUser("fay"), "UserShell"), ElementsAre("/usr/bin/false"));
  EXPECT_THAT(values(machine.networkUser("fay"), "FullName"), IsEmpty());
}

TEST_F(NssNode, MakesTheSameGUIDOfTheSameNameOnEveryMachine) {
  // uuidgen --sha1 --namespace 3c7e0a94-5b1d-4e62-a8f3-91d6b07c2e45 --name nss/site/user/dana
  EXPECT_THAT(values(machine.networkUser("dana"), "GUID"),
              ElementsAre("92607F47-BB99-5453-91FB-DE1598282344"));
  EXPECT_THAT(values(machine.networkGroup("staff"), "GUID"),
              ElementsAre(NameServiceMachine::guidOf(Type::Group, "staff")));
  EXPECT_NE(NameServiceMachine::guidOf(Type::Group, "fay"),
            NameServiceMachine::guidOf(Type::User, "fay"));
}

TEST_F(NssNode, LeavesTheMachinesOwnAccountsAndGroupsToTheLocalNode) {
  machine.serve("enumerates", "");
  EXPECT_EQ(machine.networkUser("ann"), nullptr);
  EXPECT_THAT(machine.userNames("UniqueID", {"1000", "0"}), IsEmpty());
  EXPECT_EQ(machine.networkGroup("locals"), nullptr);
  EXPECT_THAT(machine.groupNames("PrimaryGroupID", {"300"}), IsEmpty());
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("dana", "ed", "fay"));
  EXPECT_THAT(machine.log.lines(), IsEmpty());
}

TEST_F(NssNode, LeavesOutWhatHasTheNameOrTheIDOfALocalAccountAndSaysSo) {
  machine.serve("passwd", "ann:*:20009:1:::/bin/sh\nanna:*:1000:1:::/bin/sh\n");
  EXPECT_THAT(machine.userNames("UniqueID", {"20009"}), IsEmpty());
  EXPECT_THAT(machine.userNames("RecordName", {"anna"}), IsEmpty());
  EXPECT_THAT(machine.log.lines(),
              AllOf(Contains(HasSubstr("the user ann is left out: it has the name ann of a local")),
                    Contains(HasSubstr("the user anna is left out: it has the user id 1000"))));
}

TEST_F(NssNode, HasOnlyUserIDsAndGroupIDsOfItsRange) {
  machine.configure("min-id = 20002\nmax-id = 20009\n");
  EXPECT_EQ(machine.networkUser("dana"), nullptr);
  EXPECT_NE(machine.networkUser("ed"), nullptr);
  EXPECT_THAT(machine.groupNames("PrimaryGroupID", {"20010", "20003"}), ElementsAre("fay"));
  const auto leftOut = machine.network()->leftOut("RecordName", "dana");
  ASSERT_EQ(leftOut.size(), 1);
  EXPECT_EQ(leftOut.front().rule, "user id too low");
  EXPECT_EQ(leftOut.front().userID, 20001U);
}

TEST_F(NssNode, TakesAnAccountForTheMachinesOwnOnlyByTheNameAndTheIDOfTheSameOne) {
  machine.write("/etc/userdb/yan.user", R"({"userName": "yan", "uid": 3001})");
  machine.write("/etc/userdb/zoe.user", R"({"userName": "zoe", "uid": 3000})");
  machine.serve("passwd", "zoe:*:3000:1:::/bin/sh\n");
  EXPECT_EQ(machine.networkUser("zoe"), nullptr);
  EXPECT_THAT(machine.log.lines(), IsEmpty());
  machine.wait();
  machine.serve("passwd", "zoe:*:3001:1:::/bin/sh\n");
  EXPECT_EQ(machine.networkUser("zoe"), nullptr);
  EXPECT_THAT(machine.log.lines(),
              ElementsAre(HasSubstr("the user zoe is left out: it has the name zoe of a local")));
}

TEST_F(NssNode, NamesAGroupThatIsLeftOutInTheLogAndTellsNobodysMembershipOfIt) {
  const auto expectLeftOut = [&](const std::string& name, const std::string& why) {
    const auto message = "nss/site: who is in the group " + name + " can't be told: it " + why;
    const auto guid = NameServiceMachine::guidOf(Type::Group, name);
    const Strings of{"Groups"};
    for (const auto& kind : {std::pair("RecordName", name), std::pair("GUID", guid)}) {
      const auto found = machine.node()
                             ->query({of, kind.first, MatchType::EqualTo, {kind.second}, {}, 0})
                             ->results(false);
      ASSERT_EQ(found.value().size(), 1) << name << " by " << kind.first;
      EXPECT_THAT(values(found->front(), "PrimaryGroupID"), IsEmpty());
      EXPECT_THAT([&] { values(found->front(), "GroupMembership"); },
                  ThrowsMessage<PlatformException>(message));
      EXPECT_THAT([&] { found->front()->isMember(*machine.user("ann")); },
                  ThrowsMessage<PlatformException>(message));
    }
    EXPECT_THAT(machine.log.lines(),
                Contains("nss/site: the group " + name + " is left out: it " + why));
  };
  machine.serve("enumerates", "");
  machine.serve("group", "staff:*:500:ed\nhidden:*:300:ed\npupils:*:20000:ed\n");
  machine.configure("min-id = 1000\n");
  expectLeftOut("staff", "has the id 500, which is out of range");
  expectLeftOut("hidden", "has the id 300 of a local group");
  EXPECT_THAT(machine.groupNames("PrimaryGroupID", {"500", "300", "0"}), IsEmpty());
  EXPECT_THAT(machine.groupNames("RecordName", {"lxRecordsAll"}), ElementsAre("pupils"));
}

TEST_F(NssNode, NamesAGroupOfAnotherDomainInTheLogAndTellsNobodysMembershipOfIt) {
  machine.configure("domain = \"example.org\"\n");
  EXPECT_THAT([&] { values(machine.networkGroup("staff"), "GroupMembership"); },
              ThrowsMessage<PlatformException>(HasSubstr("it is not of the domain example.org")));
  EXPECT_THAT(machine.log.lines(), Contains(HasSubstr("the group staff is left out: it is not")));
}

TEST_F(NssNode, HasNoSystemAccountsUnlessARangeIsSet) {
  machine.serve("passwd", "daemons:*:999:1:::/bin/sh\n");
  machine.serve("group", "daemons:*:999:\n");
  EXPECT_EQ(machine.networkUser("daemons"), nullptr);
  EXPECT_NE(machine.networkGroup("daemons"), nullptr);
}

TEST_F(NssNode, HasOnlyNamesOfItsDomain) {
  machine.configure("domain = \"example.org\"\n");
  machine.serve("passwd",
                "dana@EXAMPLE.org:*:20001:1:::/bin/sh\nexample.ORG\\ed:*:20002:1:::/bin/sh\n"
                "fay@example.com:*:20003:1:::/bin/sh\ngil:*:20004:1:::/bin/sh\n"
                "@example.org:*:20005:1:::/bin/sh\n");
  machine.serve("group", "staff@example.org:*:20010:\nstaff:*:20011:\n");
  machine.serve("enumerates", "");
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("dana@EXAMPLE.org", "example.ORG\\ed"));
  EXPECT_THAT(machine.groupNames("RecordName", {"lxRecordsAll"}), ElementsAre("staff@example.org"));
}

TEST_F(NssNode, FindsByExactNamesWhateverTheServiceTakesForTheSame) {
  EXPECT_EQ(machine.networkUser("Dana"), nullptr);
  EXPECT_THAT(machine.userNames("RecordName", {"DANA"}, MatchType::EqualToIgnoringCase),
              ElementsAre("dana"));
  EXPECT_THAT(machine.userNames("UniqueID", {"020001", "20002", "x", ""}), ElementsAre("ed"));
}

TEST_F(NssNode, ListsWhoHasAHomeFolderHereWhereTheServiceDoesNotEnumerate) {
  machine.addHome("dana", 20001);
  machine.addHome("root", 0);
  machine.addHome("ann", 1000);
  machine.addHome("somebody", 29999);
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("dana"));
  machine.wait();
  machine.serve("enumerates", "");
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("dana", "ed", "fay"));
}

TEST_F(NssNode, TakesHomesFromTheFoldersThatAreSet) {
  machine.configure("homes = [\"/elsewhere\", \"/missing\"]\n");
  machine.addHome("dana", 20001);
  std::filesystem::create_directories(machine.path("/elsewhere/ed"));
  ASSERT_EQ(chown(machine.path("/elsewhere/ed").c_str(), 20002, 20000), 0);
  EXPECT_THAT(machine.allNetworkUsers(), ElementsAre("ed"));
}

TEST_F(NssNode, ListsNobodyWithoutEnumerationAndHomes) {
  machine.configure("homes = []\n");
  machine.addHome("dana", 20001);
  EXPECT_THAT(machine.allNetworkUsers(), IsEmpty());
  EXPECT_THAT(machine.groupNames("RecordName", {"lxRecordsAll"}), IsEmpty());
}

TEST_F(NssNode, AsksOneQuestionForAGroupAndNoneForItsMembers) {
  std::string members;
  for (int number = 0; number < 2000; ++number) {
    members += (number == 0 ? "u" : ",u") + std::to_string(number);
  }
  machine.serve("group", "large:*:20020:" + members + "\n");
  const auto large = machine.networkGroup("large");
  ASSERT_NE(large, nullptr);
  const auto names = values(large, "GroupMembership");
  EXPECT_EQ(names.size(), 2000);
  const auto users = machine.node()
                         ->query({{"Users"}, "RecordName", MatchType::EqualTo, names, {"GUID"}, 0})
                         ->results(false);
  ASSERT_EQ(users.value().size(), 2000);
  EXPECT_THAT(values(users->front(), "GUID"),
              ElementsAre(NameServiceMachine::guidOf(
                  Type::User, values(users->front(), "RecordName").front())));
  EXPECT_THAT(machine.asked(), ElementsAre("group large"));
}

TEST_F(NssNode, TellsOfMembersWhoWereNotSeenHereNothingButTheName) {
  machine.addHome("dana", 20001);
  const auto members =
      machine.node()
          ->query({{"Users"}, "RecordName", MatchType::EqualTo, {"dana", "ed"}, {"GUID"}, 0})
          ->results(false);
  ASSERT_EQ(members.value().size(), 2);
  const auto byGUID = [&](std::string_view name) {
    return machine.node()
        ->query({{"Users"},
                 "GUID",
                 MatchType::EqualTo,
                 {NameServiceMachine::guidOf(Type::User, name)},
                 {},
                 0})
        ->results(false)
        .value();
  };
  EXPECT_TRUE(byGUID("dana").at(0)->recordDetails({})->contains("UniqueID"));
  machine.asked();
  const auto ed = byGUID("ed").at(0);
  EXPECT_FALSE(ed->recordDetails({})->contains("UniqueID"));
  EXPECT_THAT(machine.asked(), IsEmpty());
  EXPECT_THAT(values(ed, "UniqueID"), ElementsAre("20002"));
}

TEST_F(NssNode, CountsMembersByNameByPrimaryGroupAndByTheServicesOwnWord) {
  const auto dana = machine.networkUser("dana");
  EXPECT_TRUE(machine.networkGroup("staff")->isMember(*dana));
  EXPECT_TRUE(machine.networkGroup("pupils")->isMember(*dana));
  EXPECT_FALSE(machine.networkGroup("fay")->isMember(*dana));
  EXPECT_TRUE(machine.networkGroup("staff")->isMember(*machine.user("ann")));
  machine.wait();
  // A service that hides the members of groups.
  machine.serve("group", "staff:*:20010:\n");
  EXPECT_TRUE(machine.networkGroup("staff")->isMember(*machine.networkUser("dana")));
  EXPECT_FALSE(machine.networkGroup("staff")->isMember(*machine.networkUser("ed")));
}

TEST_F(NssNode, CountsAmongAGroupsMembersWhoIsAskedAboutAndIsInItByTheServicesWord) {
  machine.serve("group", "staff:*:20010:\npupils:*:20000:\n");
  EXPECT_THAT(values(machine.networkGroup("staff"), "GroupMembership"), IsEmpty());
  EXPECT_THAT(machine.userNames("UniqueID", {"20001"}), ElementsAre("dana"));
  EXPECT_THAT(machine.userNames("UniqueID", {"20003"}), ElementsAre("fay"));
  EXPECT_THAT(values(machine.networkGroup("staff"), "GroupMembership"), ElementsAre("dana"));
  EXPECT_THAT(values(machine.networkGroup("pupils"), "GroupMembership"), ElementsAre("dana"));
}

TEST_F(NssNode, TellsNoMembersWhileAUserWhoWasAskedAboutIsForgottenAndThenWithoutThatUser) {
  machine.serve("group", "staff:*:20010:ed\n");
  const auto staff = machine.networkGroup("staff");
  const auto dana = machine.networkUser("dana");
  machine.serve("passwd", "ed:*:20002:20000:Ed Moss:/home/ed:/bin/sh\n");
  const auto refused = ThrowsMessage<PlatformException>(
      "nss/site: the groups of dana can't be told: the name service has nothing of that user now");
  for (int time = 0; time < 2; ++time) {
    EXPECT_THAT([&] { values(staff, "GroupMembership"); }, refused);
    EXPECT_THAT([&] { staff->isMember(*dana); }, refused);
  }
  EXPECT_EQ(machine.networkUser("dana"), nullptr) << "who isn't kept from before";
  EXPECT_TRUE(staff->isMember(*machine.networkUser("ed")));
  machine.wait();
  EXPECT_THAT(values(staff, "GroupMembership"), ElementsAre("ed"));
  EXPECT_THAT([&] { staff->isMember(*dana); }, refused);
}

TEST_F(NssNode, CountsEverybodyWhoWasAskedAboutHoweverManyTheyAre) {
  machine.serveMany(40);
  const auto names = NameServiceMachine::manyUsers(40);
  machine.userNames("RecordName", names);
  for (const auto& name : names) machine.networkUser(name);
  machine.wait();
  EXPECT_THAT(values(machine.networkGroup("staff"), "GroupMembership"),
              UnorderedElementsAreArray(names));
  EXPECT_THAT(values(machine.networkGroup("pupils"), "GroupMembership"),
              UnorderedElementsAreArray(names))
      << "of every group";
  machine.wait();
  machine.networkUser(names.front());
  machine.asked();
  values(machine.networkGroup("staff"), "GroupMembership");
  EXPECT_LT(machine.asked().size(), 80) << "later the last ones";
}

TEST_F(NssNode, TellsNoMembersOnceMoreUsersWereAskedAboutThanItCanCount) {
  machine.serveMany(1001);
  const auto names = NameServiceMachine::manyUsers(1001);
  machine.userNames("RecordName", names);
  for (const auto& name : names) machine.networkUser(name);
  EXPECT_THAT([&] { values(machine.networkGroup("staff"), "GroupMembership"); },
              ThrowsMessage<PlatformException>(HasSubstr("too many users were asked about")));
}

TEST_F(NssNode, CountsEverybodyWhomItToldOfAmongThoseOfAServiceThatHidesMembers) {
  machine.serveMany(300);
  machine.serve("enumerates", "");
  EXPECT_THAT(machine.allNetworkUsers(), testing::SizeIs(300));
  EXPECT_THAT(values(machine.networkGroup("staff"), "GroupMembership"), testing::SizeIs(300));
}

TEST_F(NssNode, TellsNoHiddenMembersOfMoreUsersThanItCanAskAbout) {
  machine.serveMany(1001);
  machine.serve("enumerates", "");
  EXPECT_THAT(machine.allNetworkUsers(), testing::SizeIs(1001));
  EXPECT_THAT([&] { values(machine.networkGroup("staff"), "GroupMembership"); },
              ThrowsMessage<PlatformException>(HasSubstr("hides its members")));
  EXPECT_THAT(values(machine.networkGroup("fay"), "GroupMembership"), IsEmpty());
  EXPECT_THAT(values(machine.networkGroup("pupils"), "GroupMembership"), testing::SizeIs(1001))
      << "by primary group";
}

TEST_F(NssNode, CountsWhoWasSeenHereAmongTheMembersOfTheirPrimaryGroup) {
  machine.addHome("ed", 20002);
  EXPECT_THAT(values(machine.networkGroup("pupils"), "GroupMembership"), ElementsAre("ed"));
}

TEST_F(NssNode, FindsByTheGUIDsOfNamesThatItHasMet) {
  const auto dana = NameServiceMachine::guidOf(Type::User, "dana");
  machine.networkUser("dana");
  machine.networkGroup("staff");
  machine.wait();
  EXPECT_THAT(guids({dana, NameServiceMachine::guidOf(Type::Group, "staff")}),
              UnorderedElementsAre("dana", "staff"));
  EXPECT_THAT(guids({dana}, {"Groups"}), IsEmpty());
}

TEST_F(NssNode, FindsByTheGUIDsOfTheNamesThatAreSetOfThoseEnumeratedAndOfThoseSeen) {
  machine.configure("names = [\"staff\", \"nobody-has-it\"]\n");
  const auto staff = NameServiceMachine::guidOf(Type::Group, "staff");
  const auto ed = NameServiceMachine::guidOf(Type::User, "ed");
  EXPECT_THAT(guids({staff}), ElementsAre("staff"));
  machine.addHome("ed", 20002);
  EXPECT_THAT(guids({ed}), ElementsAre("ed"));
  machine.serve("enumerates", "");
  machine.wait();
  EXPECT_THAT(guids({NameServiceMachine::guidOf(Type::Group, "pupils")}), ElementsAre("pupils"));
}

TEST_F(NssNode, KeepsListedNamesThatTheServiceHasNothingOfAndCountsNoneAsAnEmptyGroup) {
  machine.configure("names = [\"gone\", \"ann\", \"locals\"]\n");
  const auto found = machine.node()
                         ->query({{"Users", "Groups"},
                                  "GUID",
                                  MatchType::EqualTo,
                                  {NameServiceMachine::guidOf(Type::Group, "gone"),
                                   NameServiceMachine::guidOf(Type::User, "gone"),
                                   NameServiceMachine::guidOf(Type::User, "ann"),
                                   NameServiceMachine::guidOf(Type::Group, "locals")},
                                  {},
                                  0})
                         ->results(false);
  // A local group stands in front of the site's, which a list means all the same.
  ASSERT_EQ(found.value().size(), 3);
  for (const auto& each : *found) {
    const bool isUser = each->recordType() == "Users";
    const auto name = values(each, "RecordName").front();
    EXPECT_TRUE(name == "gone" || (name == "locals" && !isUser)) << name;
    EXPECT_FALSE(each->recordDetails({"UniqueID"})->contains("UniqueID"));
    if (each->recordType() == "Users") continue;
    EXPECT_THROW(values(each, "GroupMembership"), PlatformException);
    EXPECT_THROW(each->isMember(*machine.networkUser("dana")), PlatformException);
  }
  EXPECT_EQ(machine.networkGroup("gone"), nullptr);
}

TEST_F(NssNode, RaisesForAGUIDThatMayBeOfANameItHasNotMet) {
  const auto unknown = NameServiceMachine::guidOf(Type::Group, "staff");
  EXPECT_THAT([&] { guids({unknown}); },
              ThrowsMessage<PlatformException>(
                  AllOf(StartsWith("nss/site: whose GUID " + unknown), HasSubstr("\"names\""))));
  // One of another kind can't be.
  EXPECT_THAT(guids({"0B1C9B52-31A4-4C8E-9D7A-1F2E3D4C5B6A", "x"}), IsEmpty());
}

TEST_F(NssNode, LeavesTheGUIDsOfAnotherNodeOfTheSameServiceToThatNode) {
  machine.write("/etc/gatehall/directory.toml",
                std::string("[[directory]]\nname = \"low\"\nkind = \"nss\"\nmax-id = 20001\n") +
                    NameServiceMachine::kNoHurry +
                    "[[directory]]\nname = \"high\"\nkind = \"nss\"\nmin-id = 20002\n" +
                    NameServiceMachine::kNoHurry + "names = [\"ed\"]\n");
  const auto ed =
      uuidText(nss::GUIDs({"nss/high"}).of("nss/high", Type::User, "ed", nss::GUIDs::Known::Met));
  EXPECT_THAT(
      NameServiceMachine::namesAt(*machine.search(), {"Users"}, "GUID", MatchType::EqualTo, {ed}),
      ElementsAre("ed"));
  EXPECT_THAT(machine.search()->subnodeNames().value(),
              ElementsAre("local", "unix", "nss/low", "nss/high"));
}

TEST_F(NssNode, VerifiesNoPasswordTheEmptyOneIncluded) {
  DirectoryError error;
  EXPECT_FALSE(machine.networkUser("dana")->verifyPassword("", error));
  EXPECT_EQ(error.code, 5102);
  EXPECT_FALSE(machine.networkUser("dana")->changePassword("", "new", error));
  EXPECT_EQ(error.code, 5106);
  EXPECT_FALSE(machine.networkGroup("staff")->verifyPassword("", error));
  EXPECT_EQ(error.code, 5107);
}

TEST_F(NssNode, KeepsAnswersForSomeSecondsAndNoLonger) {
  machine.networkUser("dana");
  machine.asked();
  machine.networkUser("dana");
  EXPECT_THAT(machine.userNames("UniqueID", {"20001"}), ElementsAre("dana"));
  EXPECT_THAT(machine.asked(), IsEmpty());
  machine.wait();
  machine.networkUser("dana");
  EXPECT_THAT(machine.asked(), ElementsAre("user dana"));
  machine.network()->forgetFetched();
  machine.networkUser("dana");
  EXPECT_THAT(machine.asked(), ElementsAre("user dana"));
}

TEST_F(NssNode, NamesTheServicesThatAnswerIt) {
  machine.write("/etc/nsswitch.conf",
                "passwd: files sss [NOTFOUND=return] systemd\ngroup: files sss\n");
  EXPECT_EQ(machine.network()->reach().server, "sss, systemd");
}

TEST_F(NssNode, IsAwayWhileTheServiceFailsAndRefuses) {
  machine.serve("away", "");
  EXPECT_THAT(machine.network()->whyUnreachable().value_or(""),
              AllOf(StartsWith("nss/site: can't be asked: "), HasSubstr("refused")));
  EXPECT_FALSE(machine.network()->isIgnoredWhenAway());
  EXPECT_THAT(machine.search()->unreachableSubnodeNames().value(), ElementsAre("nss/site"));
  EXPECT_THROW(NameServiceMachine::namesAt(*machine.search(), {"Users"}, "RecordName",
                                           MatchType::EqualTo, {"dana"}),
               PlatformException);
  EXPECT_THAT(NameServiceMachine::namesAt(*machine.search(), {"Users"}, "UniqueID",
                                          MatchType::EqualTo, {"1000"}),
              ElementsAre("ann"));
  machine.asked();
  EXPECT_THROW(machine.networkUser("dana"), DirectoryUnreachable);
  EXPECT_THAT(machine.asked(), IsEmpty());
  machine.stopServing("away");
  machine.wait();
  EXPECT_NE(machine.networkUser("dana"), nullptr);
  EXPECT_FALSE(machine.network()->whyUnreachable());
}

TEST_F(NssNode, RaisesForMembershipThatTheServiceCanNotTell) {
  const auto dana = machine.networkUser("dana");
  const auto pupils = machine.networkGroup("fay");
  machine.serve("away", "");
  EXPECT_THROW(pupils->isMember(*dana), DirectoryUnreachable);
}

TEST_F(NssNode, IsAwayWhenTheServiceIsMute) {
  machine.configure("time-limit = 0.5\n");
  machine.serve("mute", "");
  EXPECT_THAT([&] { machine.networkUser("dana"); },
              ThrowsMessage<DirectoryUnreachable>(HasSubstr("does not answer in time")));
}

TEST_F(NssNode, HasNoNameServiceOnAMachineThatDoesNotRun) {
  machine.options.isRunning = false;
  EXPECT_THAT(machine.network()->whyUnreachable().value_or(""), HasSubstr("does not run"));
  EXPECT_THAT(machine.asked(), IsEmpty());
}

}  // namespace gatehall
