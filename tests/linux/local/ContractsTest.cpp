#include "linux/directory/LinuxMembership.h"
#include "tests/linux/Machine.h"
#include "tests/platform/contracts/DirectoryContract.h"
#include "tests/platform/contracts/MembershipContract.h"
#include "tests/platform/contracts/NoServices.h"

namespace gatehall::contracts {
namespace {

/// A host that has a directory and a membership service and nothing else.
class MachinePlatform final : public NoServices {
 public:
  MachinePlatform() : mMembership(machine.directory(), machine.log) {
    machine.write("/etc/passwd",
                  "root:x:0:0:root:/root:/bin/bash\n"
                  "ann:x:1000:50:Ann Lee,,,:/home/ann:/bin/bash\n"
                  "bob:x:1001:50:Bob Ray:/home/bob:/bin/sh\n"
                  "carol:x:1002:50:Carol Ost:/home/carol:/bin/bash\n");
    machine.write(
        "/etc/shadow",
        "ann:$5$rounds=1000$saltsalt$8k4Yor.Mr9PEZeNX4PeuK6zXkoVPBkL3Gi.Ur2W7uQ8:1::::::\n"
        "bob::1::::::\n"
        "carol:$5$rounds=1000$saltsalt$lkIT9lNjwmpGeQ12dN82NO7D.uDAJx8V9b8T4zFnIrC:1::::"
        "::\n");
    writeGroups("");
  }

  void writeGroups(const std::string& more) const {
    machine.write("/etc/group", "staff:x:50:\nadmin:x:80:ann\n" + more);
  }

  /// From now on the directory has these nodes, too, of servers that don't answer.
  Strings addNetworkNodes() {
    std::string tables;
    for (const auto* name : {"one", "two"}) {
      tables += "[[directory]]\nname = \"" + std::string(name) +
                "\"\nservers = [\"ldap://127.0.0.1:1\"]\nbase = \"dc=example,dc=org\"\n";
    }
    machine.write("/etc/gatehall/directory.toml", tables);
    mDirectory = std::make_unique<LinuxDirectory>(machine.options, machine.log, machine.clock);
    return {"ldap/one", "ldap/two"};
  }

  DirectoryService& directory() override { return mDirectory ? *mDirectory : machine.directory(); }
  MembershipService& membership() override { return mMembership; }
  Clock& clock() override { return machine.clock; }
  Log& log() override { return machine.log; }

  Machine machine;

 private:
  LinuxMembership mMembership;
  std::unique_ptr<LinuxDirectory> mDirectory;
};

class LocalDirectoryHost final : public DirectoryHost {
 public:
  Platform& platform() override { return mPlatform; }
  Strings addNetworkNodes() override { return mPlatform.addNetworkNodes(); }

 private:
  MachinePlatform mPlatform;
};

class LocalMembershipHost final : public MembershipHost {
 public:
  Platform& platform() override { return mPlatform; }
  void admit(const Account* account) override {
    const std::string member = account == nullptr ? "" : account->name;
    mPlatform.writeGroups("gatehall-access:x:90:" + member + "\n");
  }

 private:
  MachinePlatform mPlatform;
};

INSTANTIATE_TEST_SUITE_P(Local, DirectoryContract, testing::Values(&make<LocalDirectoryHost>));
INSTANTIATE_TEST_SUITE_P(Local, MembershipContract, testing::Values(&make<LocalMembershipHost>));

}  // namespace
}  // namespace gatehall::contracts
