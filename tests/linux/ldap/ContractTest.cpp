#include "gatehall/base/PlatformException.h"
#include "linux/directory/LinuxMembership.h"
#include "linux/directory/SearchNode.h"
#include "tests/linux/Machine.h"
#include "tests/linux/ldap/fixture/LdapMachine.h"
#include "tests/linux/ldap/fixture/Ldif.h"
#include "tests/linux/ldap/fixture/Slapd.h"
#include "tests/platform/contracts/DirectoryContract.h"

// What holds for the directory of a machine's own accounts holds for a network directory that has
// the same ones.

namespace gatehall::contracts {
namespace {

Slapd& sceneServer() {
  static Slapd server([] {
    std::string ldif;
    for (const auto& account : kAccounts) {
      const std::string_view password = account.password;
      ldif +=
          ldifOf(LdifUser{account.name, account.userID, account.groupID, account.fullName, "",
                          "loginShell: " + std::string(account.shell) + "\n" +
                              ldifLine("userPassword", password.empty() ? "{CRYPT}" : password)});
    }
    for (const auto& group : kGroups) {
      LdifGroup entry{group.name, group.groupID, {}};
      for (const auto* member : group.members) {
        if (member != nullptr) entry.members.push_back(userDN(member));
      }
      ldif += ldifOf(entry);
    }
    return Slapd::Options{.ldif = ldif};
  }());
  return server;
}

/// A session in which the network's node stands in the place of the local one.
class NetworkSession final : public DirectorySession {
 public:
  NetworkSession(std::shared_ptr<DirectoryNode> node, Log& log)
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

class NetworkPlatform final : public Platform, public DirectoryService {
 public:
  NetworkPlatform() : mMembership(*this, mMachine.log) {
    mMachine.write("/etc/gatehall/directory.toml",
                   "[[directory]]\nname = \"scene\"\nservers = [\"" + sceneServer().uri() +
                       "\"]\nbase = \"dc=example,dc=org\"\nprofile = \"rfc2307bis\"\n"
                       "tls = \"off\"\n" +
                       LdapMachine::kNoHurry);
    const auto node = mMachine.directory().defaultSession()->nodeByName("ldap/scene");
    if (!node) throw std::runtime_error("no node");
    mSession = std::make_shared<NetworkSession>(node, mMachine.log);
  }

  /// From now on the directory is the whole machine's, in which the network's node has its own
  /// place.
  Strings addNetworkNodes() {
    mSession = mMachine.directory().defaultSession();
    return {"ldap/scene"};
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

  Machine mMachine;
  LinuxMembership mMembership;
  std::shared_ptr<DirectorySession> mSession;
};

class NetworkDirectoryHost final : public DirectoryHost {
 public:
  Platform& platform() override { return mPlatform; }
  Strings addNetworkNodes() override { return mPlatform.addNetworkNodes(); }

 private:
  NetworkPlatform mPlatform;
};

INSTANTIATE_TEST_SUITE_P(Network, DirectoryContract, testing::Values(&make<NetworkDirectoryHost>));

}  // namespace
}  // namespace gatehall::contracts
