#include <cctype>
#include <chrono>
#include <gmock/gmock.h>

#include "gatehall/base/PlatformException.h"
#include "linux/directory/LinuxMembership.h"
#include "tests/Patience.h"
#include "tests/linux/Machine.h"
#include "tests/linux/directory/MachineNode.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

constexpr const char* kAway = "ldap/example: can't be asked: timed out";

class LinuxDirectoryNodes : public testing::Test {
 protected:
  LinuxDirectoryNodes()
      : directory(machine.options, machine.log, machine.clock, {network}),
        session(directory.defaultSession()),
        search(session->nodeByType(NodeType::Search)) {
    machine.write("/etc/passwd", "ann:x:1000:1000::/home/ann:/bin/sh\n");
    network->machine.write("/etc/machine-id", "fedcba9876543210fedcba9876543210\n");
    network->machine.write("/etc/passwd",
                           "dana:x:5000:5000::/home/dana:/bin/sh\n"
                           "ann:x:1000:5000::/home/ann:/bin/sh\n");
  }

  std::optional<std::size_t> found(std::string_view name, std::uint32_t limit = 0,
                                   bool allowPartial = false) {
    const auto results =
        search->query({{"Users"}, "RecordName", MatchType::EqualTo, {std::string(name)}, {}, limit})
            ->results(allowPartial);
    if (!results) return std::nullopt;
    return results->size();
  }

  Machine machine;
  std::shared_ptr<MachineNode> network = std::make_shared<MachineNode>();
  LinuxDirectory directory;
  std::shared_ptr<DirectorySession> session;
  std::shared_ptr<DirectoryNode> search;
};

}  // namespace

TEST_F(LinuxDirectoryNodes, HaveNamesByWhichTheyOpen) {
  EXPECT_EQ(session->nodeByType(NodeType::Local)->nodeName(), "local");
  EXPECT_EQ(search->nodeName(), "search");
  for (const auto* name : {"local", "unix", "search", "ldap/example"}) {
    ASSERT_TRUE(session->nodeByName(name)) << name;
    EXPECT_EQ(session->nodeByName(name)->nodeName(), name);
  }
  EXPECT_FALSE(session->nodeByName("ldap/other"));
  network->away = kAway;
  EXPECT_FALSE(session->nodeByName("ldap/example"));
}

TEST_F(LinuxDirectoryNodes, AreCoveredByTheSearchNodeInOrder) {
  EXPECT_THAT(*search->subnodeNames(), ElementsAre("local", "unix", "ldap/example"));
  EXPECT_THAT(*search->unreachableSubnodeNames(), IsEmpty());
  network->away = kAway;
  EXPECT_THAT(*search->subnodeNames(), ElementsAre("local", "unix", "ldap/example"));
  EXPECT_THAT(*search->unreachableSubnodeNames(), ElementsAre("ldap/example"));
  EXPECT_FALSE(session->nodeByName("local")->subnodeNames());
  EXPECT_FALSE(session->nodeByName("unix")->unreachableSubnodeNames());
}

TEST_F(LinuxDirectoryNodes, NamedUnixIsEmpty) {
  const auto node = session->nodeByName("unix");
  EXPECT_FALSE(node->recordByTypeAndName("Users", "ann", {}));
  EXPECT_THAT(*node->query({{"Users"}, "RecordName", MatchType::EqualTo, {"lxRecordsAll"}, {}, 0})
                   ->results(false),
              IsEmpty());
}

TEST_F(LinuxDirectoryNodes, AreSearchedLocalFirstUpToTheMaximum) {
  const auto namesThatHold = [&](std::string_view text, std::uint32_t limit) {
    Strings names;
    const auto query = search->query(
        {{"Users"}, "RecordName", MatchType::Contains, {std::string(text)}, {}, limit});
    const auto records = query->results(false);
    for (const auto& each : records.value()) names.push_back(values(each, "RecordName").front());
    return names;
  };
  EXPECT_THAT(namesThatHold("a", 0), ElementsAre("ann", "dana", "ann"));
  EXPECT_THAT(namesThatHold("a", 2), ElementsAre("ann", "dana"));
  network->away = kAway;
  EXPECT_THAT(namesThatHold("a", 1), ElementsAre("ann")) << "enough without the network";
  network->away.reset();
  EXPECT_THAT(values(search->recordByTypeAndName("Users", "ann", {}), "PrimaryGroupID"),
              ElementsAre("1000"));
  EXPECT_THAT(values(search->recordByTypeAndName("Users", "dana", {}), "UniqueID"),
              ElementsAre("5000"));
  EXPECT_FALSE(search->recordByTypeAndName("Users", "xyzzy", {}));
}

TEST_F(LinuxDirectoryNodes, ThatAreAwayFailTheQuestionUnlessPartialResultsWillDo) {
  network->away = kAway;
  EXPECT_THAT([&] { found("dana"); }, ThrowsMessage<PlatformException>(kAway));
  EXPECT_THAT([&] { search->recordByTypeAndName("Users", "dana", {}); },
              ThrowsMessage<PlatformException>(kAway));
  EXPECT_THAT([&] { search->recordByTypeAndName("Groups", "people", {}); },
              ThrowsMessage<PlatformException>(kAway));
  EXPECT_EQ(found("dana", 0, true), 0U);
}

TEST_F(LinuxDirectoryNodes, ThatFailMidwayFailTheQueryUnlessPartialResultsWillDo) {
  network->fails = true;
  EXPECT_THROW(found("dana"), PlatformException);
  EXPECT_EQ(found("dana", 0, true), 0U);
}

TEST_F(LinuxDirectoryNodes, ThatGiveNoAnswerFailTheQueryUnlessPartialResultsWillDo) {
  network->isMute = true;
  EXPECT_THAT([&] { found("dana"); },
              ThrowsMessage<PlatformException>("ldap/example does not answer"));
  EXPECT_EQ(found("dana", 0, true), 0U);
}

TEST_F(LinuxDirectoryNodes, AreNotStoodInForByOthersThatAnswer) {
  const auto other = std::make_shared<MachineNode>("ldap/other");
  for (const bool isFirstAway : {true, false}) {
    network->away = isFirstAway ? std::optional<std::string>(kAway) : std::nullopt;
    other->away = isFirstAway ? std::nullopt : std::optional<std::string>("ldap/other: gone");
    (isFirstAway ? other : network)
        ->machine.write("/etc/passwd", "dana:x:5000:5000::/home/dana:/bin/sh\n");
    LinuxDirectory both(machine.options, machine.log, machine.clock, {network, other});
    const auto node = both.defaultSession()->nodeByType(NodeType::Search);
    const auto query =
        node->query({{"Users", "Groups"}, "RecordName", MatchType::EqualTo, {"dana"}, {}, 0});
    EXPECT_THROW(query->results(false), PlatformException);
    EXPECT_EQ(query->results(true)->size(), 1U);
    EXPECT_THROW(node->recordByTypeAndName("Users", "dana", {}), PlatformException);
  }
}

TEST_F(LinuxDirectoryNodes, AreNotAskedForWhatALocalAccountHas) {
  machine.write("/etc/passwd",
                "ann:x:1000:1000::/home/ann:/bin/sh\nbob:x:1001:1000::/home/bob:/bin/sh\n");
  machine.write("/etc/group", "staff:x:50:ann\n");
  network->away = kAway;
  const auto ask = [&](Strings types, const char* kind, MatchType match, Strings wanted) {
    return search->query({std::move(types), kind, match, std::move(wanted), {}, 0})
        ->results(false)
        ->size();
  };
  const auto exact = MatchType::EqualTo;
  const auto ann = values(machine.user("ann"), "GUID").front();
  const auto staff = values(machine.group("staff"), "GUID").front();
  std::string lowered = ann;
  for (char& c : lowered) c = static_cast<char>(std::tolower(c));
  EXPECT_EQ(ask({"Users"}, "UniqueID", exact, {"1000"}), 1U);
  EXPECT_EQ(ask({"Users"}, "lxAttrTypeStandard:UniqueID", exact, {"1001", "1000"}), 2U);
  EXPECT_EQ(ask({"Users"}, "RecordName", exact, {"ann", "bob"}), 2U);
  EXPECT_EQ(ask({"Users"}, "GUID", exact, {ann}), 1U);
  EXPECT_EQ(ask({"Users"}, "GUID", MatchType::EqualToIgnoringCase, {lowered}), 1U);
  EXPECT_EQ(ask({"Users", "Groups"}, "GUID", exact, {ann, staff}), 2U);
  EXPECT_EQ(values(search->recordByTypeAndName("Users", "ann", {}), "UniqueID"), Strings{"1000"});

  EXPECT_THROW(ask({"Users"}, "RecordName", exact, {"ann", "dana"}), PlatformException);
  EXPECT_THROW(ask({"Users"}, "UniqueID", exact, {"1000", "5000"}), PlatformException);
  EXPECT_THROW(ask({"Users"}, "RecordName", MatchType::EqualToIgnoringCase, {"ann"}),
               PlatformException);
  EXPECT_THROW(ask({"Users"}, "RecordName", exact, {std::string(attribute::AllRecords)}),
               PlatformException);
  EXPECT_THROW(ask({"Users"}, "PrimaryGroupID", exact, {"1000"}), PlatformException);
  EXPECT_THROW(ask({"Groups"}, "RecordName", exact, {"staff"}), PlatformException)
      << "a network node may have one, too";
  EXPECT_THROW(ask({"Users", "Groups"}, "RecordName", exact, {"ann"}), PlatformException);
}

TEST_F(LinuxDirectoryNodes, ThatAreIgnoredWhenAwayHaveNoRecordsThenAndTheLogSaysSoEachTime) {
  network->isIgnored = true;
  EXPECT_EQ(found("dana"), 1U);
  EXPECT_THAT(machine.log.lines(), IsEmpty());
  network->away = kAway;
  EXPECT_EQ(found("dana"), 0U);
  EXPECT_FALSE(search->recordByTypeAndName("Users", "dana", {}));
  const auto line = std::string(kAway) + "; its entries count as absent";
  EXPECT_THAT(machine.log.lines(), ElementsAre(line, line));
  network->away.reset();
  network->fails = true;
  EXPECT_THROW(found("dana"), PlatformException) << "it is there, and answers a part";
}

TEST_F(LinuxDirectoryNodes, OfTheNetworkAreNotAskedForGUIDsThatTheMachineMade) {
  const auto ask = [&](const Strings& guids) {
    return search->query({{"Users"}, "GUID", MatchType::EqualTo, guids, {}, 0})
        ->results(false)
        ->size();
  };
  const auto local = session->nodeByType(NodeType::Local);
  const auto ann = values(local->recordByTypeAndName("Users", "ann", {}), "GUID").front();
  const auto dana = values(network->machine.user("dana"), "GUID").front();
  EXPECT_EQ(ask({ann}), 1U);
  EXPECT_EQ(network->queries, 0);
  EXPECT_EQ(ask({dana}), 1U);
  EXPECT_EQ(network->queries, 1);
  EXPECT_EQ(ask({ann, dana}), 2U);
  EXPECT_EQ(network->queries, 2);
}

TEST_F(LinuxDirectoryNodes, OfTheNetworkAreAskedForNoneOfThousandsOfTheMachinesGUIDs) {
  std::string accounts;
  for (int userID = 1000; userID < 5000; ++userID) {
    const auto id = std::to_string(userID);
    accounts += "u" + id + ":x:" + id + ":100::/:/bin/sh\n";
  }
  machine.write("/etc/passwd", accounts);
  Strings guids;
  const auto users =
      session->nodeByType(NodeType::Local)
          ->query({{"Users"}, "RecordName", MatchType::EqualTo, {"lxRecordsAll"}, {}, 0})
          ->results(false);
  for (const auto& user : *users) {
    guids.push_back(values(user, "GUID").front());
  }
  ASSERT_EQ(guids.size(), 4000U);
  for (const auto& guid : guids) {
    const auto found =
        search->query({{"Users"}, "GUID", MatchType::EqualTo, {guid}, {}, 0})->results(false);
    ASSERT_EQ(found->size(), 1U);
  }
  EXPECT_EQ(network->queries, 0);
}

TEST_F(LinuxDirectoryNodes, OfTheNetworkAreNotAskedForAGUIDThatAUserRecordSays) {
  const std::string guid = "0E1A40AD-5F6D-4D0C-9C5B-5B0C9D1E8A11";
  machine.write("/etc/userdb/ann.user",
                R"({"userName":"ann","uid":1000,"uuid":"0e1a40ad-5f6d-4d0c-9c5b-5b0c9d1e8a11"})");
  network->machine.write(
      "/etc/userdb/dana.user",
      R"({"userName":"dana","uid":5000,"uuid":"0e1a40ad-5f6d-4d0c-9c5b-5b0c9d1e8a11"})");
  const auto found =
      search->query({{"Users"}, "GUID", MatchType::EqualTo, {guid}, {}, 0})->results(false);
  ASSERT_EQ(found->size(), 1U);
  EXPECT_EQ(values(found->front(), "MetaNodeLocation"), Strings{"local"});
  EXPECT_EQ(network->queries, 0);
}

TEST_F(LinuxDirectoryNodes, GiveTheServiceAccessListOfAnyOfThem) {
  LinuxMembership membership(directory, machine.log);
  Identifier ann{};
  Identifier dana{};
  ASSERT_EQ(membership.userIDToIdentifier(1000, ann), 0);
  ASSERT_EQ(membership.userIDToIdentifier(5000, dana), 0);
  bool isMember = false;
  EXPECT_EQ(membership.checkServiceMembership(ann, "gatehall", isMember),
            MembershipService::kNoAccessList);
  network->machine.write("/etc/group", "gatehall-access:x:9:dana\n");
  EXPECT_EQ(membership.checkServiceMembership(dana, "gatehall", isMember), 0);
  EXPECT_TRUE(isMember);
  EXPECT_EQ(membership.checkServiceMembership(ann, "gatehall", isMember), 0);
  EXPECT_FALSE(isMember);
  machine.write("/etc/group", "gatehall-access:x:1000:\n");
  EXPECT_EQ(membership.checkServiceMembership(ann, "gatehall", isMember), 0);
  EXPECT_TRUE(isMember);
}

TEST_F(LinuxDirectoryNodes, ThatAnswerLateBringBackNoAccessListThatIsOver) {
  machine.write("/etc/group", "gatehall-access:x:9:ann\n");
  LinuxMembership membership(directory, machine.log);
  Identifier ann{};
  ASSERT_EQ(membership.userIDToIdentifier(1000, ann), 0);
  const auto isAdmitted = [&] {
    bool isMember = false;
    EXPECT_EQ(membership.checkServiceMembership(ann, "gatehall", isMember), 0);
    return isMember;
  };
  for (int question = 0; question < 4; ++question) EXPECT_TRUE(isAdmitted());
  // The local list has been read by then.
  network->whenAsked = [&] {
    machine.write("/etc/group", "gatehall-access:x:9:\n");
    EXPECT_FALSE(isAdmitted());
  };
  EXPECT_TRUE(isAdmitted()) << "asked before the change";
  EXPECT_FALSE(isAdmitted());
}

TEST_F(LinuxDirectoryNodes, AreAskedForAnAccessListLessOftenThanThereAreQuestionsAndSoonAgain) {
  machine.write("/etc/group", "gatehall-access:x:9:ann\n");
  LinuxMembership membership(directory, machine.log);
  Identifier ann{};
  ASSERT_EQ(membership.userIDToIdentifier(1000, ann), 0);
  const auto isAdmitted = [&] {
    bool isMember = false;
    EXPECT_EQ(membership.checkServiceMembership(ann, "gatehall", isMember), 0);
    return isMember;
  };
  constexpr int kQuestions = 200;
  const int before = network->queries;
  for (int question = 0; question < kQuestions; ++question) EXPECT_TRUE(isAdmitted());
  EXPECT_LT(network->queries - before, kQuestions);
  machine.write("/etc/group", "gatehall-access:x:9:\n");
  const auto end = std::chrono::steady_clock::now() + kPatience;
  bool isStillAdmitted = true;
  while (isStillAdmitted && std::chrono::steady_clock::now() < end) isStillAdmitted = isAdmitted();
  EXPECT_FALSE(isStillAdmitted);
}

TEST_F(LinuxDirectoryNodes, GiveAnAccessListThatDoesNotHoldAnUnknownIdentifier) {
  machine.write("/etc/group", "gatehall-access:x:9:ann\n");
  LinuxMembership membership(directory, machine.log);
  Identifier nobody{};
  ASSERT_EQ(membership.userIDToIdentifier(77, nobody), 0);
  bool isMember = true;
  EXPECT_EQ(membership.checkServiceMembership(nobody, "gatehall", isMember), 0);
  EXPECT_FALSE(isMember);
}

}  // namespace gatehall
