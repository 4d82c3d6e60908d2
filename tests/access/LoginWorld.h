#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/UserLookup.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"

namespace gatehall {

/// A machine of the cast, without login lists and service access list: ann, bob and erin are
/// local, dana, finn and hana are on the network, which can be reached. dana is in the group day,
/// finn in the group night, which day nests.
class LoginWorld : public InstalledWorld {
 protected:
  static inline const std::string kAnn{cast::kAnnGUID};
  static inline const std::string kBob{cast::kBobGUID};
  static inline const std::string kErin{cast::kErinGUID};
  static inline const std::string kDana{cast::kDanaGUID};
  static inline const std::string kFinn = "6C6B2F1E-0000-4000-8000-000000002010";
  static inline const std::string kHana = "6C6B2F1E-0000-4000-8000-000000002011";
  static inline const std::string kDay = "6C6B2F1E-0000-4000-8000-00000000A101";
  static inline const std::string kNight = "6C6B2F1E-0000-4000-8000-00000000A102";
  static inline const std::string kEmpty = "6C6B2F1E-0000-4000-8000-00000000A103";
  static inline const std::string kNobody = "6C6B2F1E-0000-4000-8000-00000000FFFF";

  LoginWorld() {
    install(cast::machine({cast::kAnn, cast::kBob, cast::kErin, cast::kAdminGroup}, {cast::kDana}));
    network()->addRecord(user("finn", "2010", kFinn));
    network()->addRecord(user("hana", "2011", kHana));
    network()->addRecord(group("day", kDay, {"dana"}, {kNight}));
    network()->addRecord(group("night", kNight, {"finn"}));
    network()->addRecord(group("empty", kEmpty, {}));
  }

  std::shared_ptr<WorldNode> local() { return mWorld->directory().node(cast::kLocalNode); }
  std::shared_ptr<WorldNode> network() { return mWorld->directory().node(cast::kNetworkNode); }

  static RecordDescription user(std::string name, std::string userID, std::string guid) {
    return {"Users",
            {{"RecordName", {std::move(name)}},
             {"UniqueID", {std::move(userID)}},
             {"GUID", {std::move(guid)}}},
            {},
            {}};
  }

  static RecordDescription userWithoutGUID(std::string name, std::string userID) {
    return {
        "Users", {{"RecordName", {std::move(name)}}, {"UniqueID", {std::move(userID)}}}, {}, {}};
  }

  static RecordDescription group(std::string name, std::string guid, Strings users,
                                 Strings nested = {}) {
    return {"Groups",
            {{"RecordName", {std::move(name)}},
             {"GUID", {std::move(guid)}},
             {"GroupMembership", std::move(users)},
             {"NestedGroups", std::move(nested)}},
            {},
            {}};
  }

  void set(std::string_view key, Value value) {
    auto& preferences = mWorld->preferences();
    preferences.setValue(WorldPreferences::Scope::System, "com.orvane.gatehall", key,
                         std::move(value));
    preferences.synchronizePreferences("com.orvane.gatehall");
  }

  void unset(std::string_view key) {
    auto& preferences = mWorld->preferences();
    preferences.removeValue(WorldPreferences::Scope::System, "com.orvane.gatehall", key);
    preferences.synchronizePreferences("com.orvane.gatehall");
  }

  void setServiceAccess(AccessList list) {
    mWorld->membership().setAccessList("gatehall", std::move(list));
  }

  /// Whether all three nodes answer. The node that holds dana always does.
  void setNetworkReachable(bool reachable) {
    mWorld->directory().setReachable(cast::kUnixNode, reachable);
  }

  /// The account with that GUID.
  static std::shared_ptr<CachedUser> found(const std::string& guid) {
    return cachedUserForGUID(guid);
  }

  static bool mayLogIn(const std::string& guid) {
    return UserAccess::sharedUserAccess()->canUserLogIn(*found(guid));
  }

  static LoginRule ruleFor(const std::string& guid) {
    return UserAccess::sharedUserAccess()->decideLogin(*found(guid)).rule;
  }
};

}  // namespace gatehall
