#pragma once

#include <string>

#include "accounts/AccountHost.h"
#include "ctl/request/Host.h"
#include "tests/ctl/RunWorld.h"

namespace gatehall {

/// A user record of a world file.
inline std::string userOf(const std::string& name, int userID, const std::string& guid,
                          const std::string& more = "") {
  return R"({ "type": "Users", "attributes": { "RecordName": )" + name + R"(, "UniqueID": )" +
         std::to_string(userID) + R"(, "GUID": "00000000-0000-4000-8000-)" + guid + "\"" + more +
         " } }";
}

/// A world of a local node and a network directory, in which some accounts come twice: ann, an
/// administrator; bob, whose user id robert of the network has; carol, in both; hugo, in both, of
/// whom the local one is locked; and dana of the network, also called danadoe.
inline std::string town(const std::string& moreSections = "") {
  return R"({ "directory": { "localNode": "local",
      "searchNode": { "name": "search", "covers": ["local", "unix", "ldap/town"] },
      "nodes": [ { "name": "local", "records": [)" +
         userOf(R"("ann")", 1000, "0000000A0000") + "," + userOf(R"("bob")", 1001, "0000000B0000") +
         "," + userOf(R"("carol")", 1002, "0000000C0000") + "," +
         userOf(R"("hugo")", 1003, "0000000D0000",
                R"(, "AuthenticationAuthority": ";DisabledUser;")") +
         R"(, { "type": "Groups", "attributes": { "RecordName": "admin", "GroupMembership": "ann",
                "GUID": "00000000-0000-4000-8000-00000000AD31" } } ] },
        { "name": "unix" },
        { "name": "ldap/town", "records": [)" +
         userOf(R"(["dana", "danadoe"])", 20001, "0000000DA4A0", R"(, "FullName": "Dana Osei")") +
         "," + userOf(R"("robert")", 1001, "0000000B0002") + "," +
         userOf(R"("carol")", 20003, "0000000C0002") + "," +
         userOf(R"("hugo")", 20004, "0000000D0002") + R"( ] } ] })" + moreSections + "}";
}

/// That world, looked at.
class Town {
 public:
  explicit Town(const std::string& moreSections = "")
      : mFile(town(moreSections)), mHost({.world = mFile.path()}, Trace::Keeps::LastOperation) {}

  AccountHost accounts() const { return mHost.accounts(); }
  World& world() const { return *mHost.world(); }

 private:
  WorldFileOnDisk mFile;
  ctl::Host mHost;
};

}  // namespace gatehall
