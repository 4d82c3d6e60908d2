#include "gatehall/base/PlatformException.h"
#include "linux/directory/LinuxMembership.h"
#include "linux/directory/SearchNode.h"
#include "tests/linux/nss/fixture/NameServiceMachine.h"
#include "tests/platform/contracts/DirectoryContract.h"

// What holds for the directory of a machine's own accounts holds for one behind the name service
// that has the same ones, but for their passwords, of which it has no word.

namespace gatehall::contracts {
namespace {

/// A session in which the network's node stands in the place of the local one.
class NameServiceSession final : public DirectorySession {
 public:
  NameServiceSession(std::shared_ptr<DirectoryNode> node, Log& log)
      : mNode(std::move(node)),
        mSearch(std::make_shared<SearchNode>(std::vector{mNode},
                                             std::vector<std::shared_ptr<NetworkNode>>(), log)) {}

  std::shared_ptr<DirectoryNode> nodeByType(NodeType type) override {
    return type == NodeType::Local ? mNode : mSearch;
  }
  std::shared_ptr<DirectoryNode> nodeByName(std::string_view name) override {
    return name == mNode->nodeName() ? mNode : nullptr;
  }

 private:
  std::shared_ptr<DirectoryNode> mNode;
  std::shared_ptr<DirectoryNode> mSearch;
};

class NameServicePlatform final : public Platform, public DirectoryService {
 public:
  NameServicePlatform() : mMembership(*this, mMachine.log) {
    mMachine.write("/etc/passwd", "");
    mMachine.write("/etc/group", "");
    std::string users;
    for (const auto& each : kAccounts) {
      users += std::string(each.name) + ":*:" + std::to_string(each.userID) + ":" +
               std::to_string(each.groupID) + ":" + each.fullName + ":" + each.home + ":" +
               each.shell + "\n";
    }
    std::string groups;
    for (const auto& each : kGroups) {
      groups += std::string(each.name) + ":*:" + std::to_string(each.groupID) + ":";
      for (const auto* member : each.members) {
        if (member != nullptr) groups += (groups.ends_with(':') ? "" : ",") + std::string(member);
      }
      groups += "\n";
    }
    mMachine.serve("passwd", users);
    mMachine.serve("group", groups);
    mMachine.serve("groups", "");
    mMachine.serve("enumerates", "");
    mSession = std::make_shared<NameServiceSession>(mMachine.node(), mMachine.log);
  }

  /// From now on the directory is the whole machine's, in which the network's node has its own
  /// place.
  Strings addNetworkNodes() {
    mSession = mMachine.directory().defaultSession();
    return {"nss/site"};
  }

  std::shared_ptr<DirectorySession> defaultSession() override { return mSession; }

  Process& process() override { absent(); }
  DirectoryService& directory() override { return *this; }
  SessionService& sessions() override { absent(); }
  LoginService& loginService() override { absent(); }
  MembershipService& membership() override { return mMembership; }
  PreferenceStore& preferences() override { absent(); }
  PropertyListReader& propertyLists() override { absent(); }
  NotificationCenter& notificationCenter() override { absent(); }
  NotificationCenter& distributedNotificationCenter() override { absent(); }
  Clock& clock() override { return mMachine.clock; }
  Log& log() override { return mMachine.log; }
  Collation& collation() override { absent(); }

 private:
  [[noreturn]] static void absent() { throw PlatformException("not part of this host"); }

  NameServiceMachine mMachine;
  LinuxMembership mMembership;
  std::shared_ptr<DirectorySession> mSession;
};

class NameServiceDirectoryHost final : public DirectoryHost {
 public:
  Platform& platform() override { return mPlatform; }
  Strings addNetworkNodes() override { return mPlatform.addNetworkNodes(); }
  bool verifiesPasswords() const override { return false; }

 private:
  NameServicePlatform mPlatform;
};

INSTANTIATE_TEST_SUITE_P(NameService, DirectoryContract,
                         testing::Values(&make<NameServiceDirectoryHost>));

}  // namespace
}  // namespace gatehall::contracts
