#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/directory/LinuxMembership.h"
#include "linux/records/EmptyNode.h"
#include "tests/Patience.h"
#include "tests/linux/Machine.h"

namespace gatehall {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A network directory whose accounts are another machine's.
class MachineNode final : public NetworkNode {
 public:
  MachineNode() { machine.write("/etc/group", ""); }

  std::optional<std::string> nodeName() override { return "ldap/example"; }
  std::optional<Strings> subnodeNames() override { return std::nullopt; }
  std::optional<Strings> unreachableSubnodeNames() override { return std::nullopt; }
  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override {
    return machine.local()->recordByTypeAndName(type, name, attributes);
  }
  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override {
    ++queries;
    if (whenAsked) std::exchange(whenAsked, nullptr)();
    if (fails) throw PlatformException("The directory went away.");
    return machine.local()->query(std::move(description));
  }
  bool isReachable() override { return reachable; }
  Reached reach() override { return {}; }

  Machine machine;
  bool reachable = true;
  bool fails = false;
  int queries = 0;
  std::function<void()> whenAsked;  ///< for once
};

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
  network->reachable = false;
  EXPECT_FALSE(session->nodeByName("ldap/example"));
}

TEST_F(LinuxDirectoryNodes, AreCoveredByTheSearchNodeInOrder) {
  EXPECT_THAT(*search->subnodeNames(), ElementsAre("local", "unix", "ldap/example"));
  EXPECT_THAT(*search->unreachableSubnodeNames(), IsEmpty());
  network->reachable = false;
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
  EXPECT_EQ(found("ann"), 2U);
  EXPECT_EQ(found("ann", 1), 1U);
  EXPECT_THAT(values(search->recordByTypeAndName("Users", "ann", {}), "PrimaryGroupID"),
              ElementsAre("1000"));
  EXPECT_THAT(values(search->recordByTypeAndName("Users", "dana", {}), "UniqueID"),
              ElementsAre("5000"));
  EXPECT_FALSE(search->recordByTypeAndName("Users", "xyzzy", {}));
}

TEST_F(LinuxDirectoryNodes, ThatAreUnreachableAreLeftOut) {
  network->reachable = false;
  EXPECT_EQ(found("ann"), 1U);
  EXPECT_EQ(found("dana"), 0U);
}

TEST_F(LinuxDirectoryNodes, ThatFailMidwayFailTheQueryUnlessPartialResultsWillDo) {
  network->fails = true;
  EXPECT_THROW(found("ann"), PlatformException);
  EXPECT_EQ(found("ann", 0, true), 1U);
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
  EXPECT_LT(network->queries, 10) << "those before the accounts were looked at as a whole";
}

TEST_F(LinuxDirectoryNodes, OfTheNetworkAreAskedForAGUIDThatAUserRecordSays) {
  const std::string guid = "0E1A40AD-5F6D-4D0C-9C5B-5B0C9D1E8A11";
  machine.write("/etc/userdb/ann.user",
                R"({"userName":"ann","uid":1000,"uuid":"0e1a40ad-5f6d-4d0c-9c5b-5b0c9d1e8a11"})");
  network->machine.write(
      "/etc/userdb/dana.user",
      R"({"userName":"dana","uid":5000,"uuid":"0e1a40ad-5f6d-4d0c-9c5b-5b0c9d1e8a11"})");
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(search->query({{"Users"}, "GUID", MatchType::EqualTo, {guid}, {}, 0})
                  ->results(false)
                  ->size(),
              2U);
  }
}

TEST_F(LinuxDirectoryNodes, GiveTheServiceAccessListOfAnyOfThem) {
  LinuxMembership membership(directory);
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
  LinuxMembership membership(directory);
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
  LinuxMembership membership(directory);
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

TEST_F(LinuxDirectoryNodes, ThatFailGiveNoAnswerAboutAccess) {
  LinuxMembership membership(directory);
  network->fails = true;
  bool isMember = false;
  Identifier identifier{};
  EXPECT_EQ(membership.checkServiceMembership(identifier, "gatehall", isMember),
            LinuxMembership::kUnavailable);
  EXPECT_EQ(membership.userIDToIdentifier(1000, identifier), LinuxMembership::kUnavailable);
}

TEST_F(LinuxDirectoryNodes, GiveAnAccessListThatDoesNotHoldAnUnknownIdentifier) {
  machine.write("/etc/group", "gatehall-access:x:9:ann\n");
  LinuxMembership membership(directory);
  Identifier nobody{};
  ASSERT_EQ(membership.userIDToIdentifier(77, nobody), 0);
  bool isMember = true;
  EXPECT_EQ(membership.checkServiceMembership(nobody, "gatehall", isMember), 0);
  EXPECT_FALSE(isMember);
}

}  // namespace gatehall
