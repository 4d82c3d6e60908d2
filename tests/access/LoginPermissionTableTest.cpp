#include <algorithm>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/UserLookup.h"
#include "tests/InstalledWorld.h"

namespace gatehall {
namespace {

constexpr char kUser[] = "6C6B2F1E-0000-4000-8000-0000000000AA";
constexpr char kOther[] = "6C6B2F1E-0000-4000-8000-0000000000BB";
constexpr std::int32_t kUserID = 1700;

/// Everything that the decision about a user depends on. Yes or no is 'y' or 'n'; a list is '-'
/// (there is none), '*' (everyone), 'U' (the user) or 'O' (another user).
struct Situation {
  char serviceAccess;
  char administrator;
  char local;
  char mobile;
  char localLogin;
  char denyList;
  char network;
  char allowList;
};

std::ostream& operator<<(std::ostream& out, const Situation& s) {
  return out << "service access " << s.serviceAccess << ", administrator " << s.administrator
             << ", local " << s.local << ", mobile " << s.mobile << ", local login " << s.localLogin
             << ", deny list " << s.denyList << ", network " << s.network << ", allow list "
             << s.allowList;
}

/// A cell lists what it matches; "." matches anything.
struct Row {
  const char* serviceAccess;
  const char* administrator;
  const char* local;
  const char* mobile;
  const char* localLogin;
  const char* denyList;
  const char* network;
  const char* allowList;
  LoginRule rule;
  bool allowed;
};

// clang-format off
constexpr Row kTable[] = {
    // service admin local mobile login deny   network allow
    {"n", ".",   ".",  ".",   ".",  ".",   ".",    ".",  LoginRule::NoServiceAccess,    false},

    {"y", "y",   ".",  ".",   ".",  ".",   ".",    ".",  LoginRule::Administrator,      true},

    // Local and not mobile: the switch alone decides.
    {"y", "n",   "y",  "n",   "y",  ".",   ".",    ".",  LoginRule::LocalLoginEnabled,  true},
    {"y", "n",   "y",  "n",   "n",  ".",   ".",    ".",  LoginRule::LocalLoginDisabled, false},

    // Mobile, wherever the account is: the lists, whatever the network does.
    {"y", "n",   ".",  "y",   ".",  "*",   ".",    ".",  LoginRule::EveryoneDenied,     false},
    {"y", "n",   ".",  "y",   ".",  "U",   ".",    ".",  LoginRule::DeniedByGUID,       false},
    {"y", "n",   ".",  "y",   ".",  "-O",  ".",    "-",  LoginRule::NoAllowList,        true},
    {"y", "n",   ".",  "y",   ".",  "-O",  ".",    "*",  LoginRule::EveryoneAllowed,    true},
    {"y", "n",   ".",  "y",   ".",  "-O",  ".",    "U",  LoginRule::AllowedByGUID,      true},
    {"y", "n",   ".",  "y",   ".",  "-O",  ".",    "O",  LoginRule::NotInAllowList,     false},

    // On the network, with a deny list: refused while the network is away.
    {"y", "n",   "n",  "n",   ".",  "*UO", "n",    ".",  LoginRule::NetworkAway,        false},
    {"y", "n",   "n",  "n",   ".",  "*",   "y",    ".",  LoginRule::EveryoneDenied,     false},
    {"y", "n",   "n",  "n",   ".",  "U",   "y",    ".",  LoginRule::DeniedByGUID,       false},
    {"y", "n",   "n",  "n",   ".",  "O",   "y",    "-",  LoginRule::NoAllowList,        true},
    {"y", "n",   "n",  "n",   ".",  "O",   "y",    "*",  LoginRule::EveryoneAllowed,    true},
    {"y", "n",   "n",  "n",   ".",  "O",   "y",    "U",  LoginRule::AllowedByGUID,      true},
    {"y", "n",   "n",  "n",   ".",  "O",   "y",    "O",  LoginRule::NotInAllowList,     false},

    // On the network, without a deny list: the network doesn't matter.
    {"y", "n",   "n",  "n",   ".",  "-",   ".",    "-",  LoginRule::NoAllowList,        true},
    {"y", "n",   "n",  "n",   ".",  "-",   ".",    "*",  LoginRule::EveryoneAllowed,    true},
    {"y", "n",   "n",  "n",   ".",  "-",   ".",    "U",  LoginRule::AllowedByGUID,      true},
    {"y", "n",   "n",  "n",   ".",  "-",   ".",    "O",  LoginRule::NotInAllowList,     false},
};
// clang-format on

bool matches(std::string_view cell, char value) {
  return cell == "." || cell.find(value) != std::string_view::npos;
}

bool matches(const Row& row, const Situation& s) {
  return matches(row.serviceAccess, s.serviceAccess) &&
         matches(row.administrator, s.administrator) && matches(row.local, s.local) &&
         matches(row.mobile, s.mobile) && matches(row.localLogin, s.localLogin) &&
         matches(row.denyList, s.denyList) && matches(row.network, s.network) &&
         matches(row.allowList, s.allowList);
}

std::vector<Situation> allSituations() {
  constexpr std::string_view yesNo = "yn";
  constexpr std::string_view lists = "-*UO";
  std::vector<Situation> all;
  for (const char service : yesNo)
    for (const char administrator : yesNo)
      for (const char local : yesNo)
        for (const char mobile : yesNo)
          for (const char login : yesNo)
            for (const char deny : lists)
              for (const char network : yesNo)
                for (const char allow : lists)
                  all.push_back(
                      {service, administrator, local, mobile, login, deny, network, allow});
  return all;
}

RecordDescription user(std::string name, std::string userID, std::string guid) {
  return {"Users",
          {{"RecordName", {std::move(name)}},
           {"UniqueID", {std::move(userID)}},
           {"GUID", {std::move(guid)}}},
          {},
          {}};
}

/// The user's node always answers; whether the network exists is a matter of how many nodes do.
std::shared_ptr<World> worldOf(const Situation& s) {
  auto world = std::make_shared<World>();
  auto& directory = world->directory();
  const auto local = directory.addNode("local");
  const auto remote = directory.addNode("ldap/example");
  directory.setLocalNode("local");
  directory.setSearchNode("search", s.network == 'y' ? Strings{"local", "unix", "ldap/example"}
                                                     : Strings{"local", "ldap/example"});

  auto description = user("someone", std::to_string(kUserID), kUser);
  if (s.mobile == 'y') description.attributes.push_back({"CopyTimestamp", {"2026-01-01"}});
  (s.local == 'y' ? local : remote)->addRecord(std::move(description));
  remote->addRecord(user("other", "1800", kOther));
  local->addRecord({"Groups",
                    {{"RecordName", {"admin"}},
                     {"GroupMembership", {s.administrator == 'y' ? "someone" : "other"}}},
                    {},
                    {}});

  world->membership().setAccessList(
      "gatehall", {.members = {std::string(s.serviceAccess == 'y' ? kUser : kOther)}});
  const auto set = [&](std::string_view key, Value value) {
    world->preferences().setValue(WorldPreferences::Scope::System, "com.orvane.gatehall", key,
                                  std::move(value));
  };
  const auto setList = [&](std::string_view key, char list) {
    if (list == '*') set(key, Array{"*"});
    if (list == 'U') set(key, Array{kUser});
    if (list == 'O') set(key, Array{kOther});
  };
  set("LocalUserLoginEnabled", s.localLogin == 'y');
  setList("DenyList", s.denyList);
  setList("AllowList", s.allowList);
  return world;
}

TEST(LoginPermissionTable, HasExactlyOneRowForEverySituation) {
  for (const auto& situation : allSituations()) {
    const auto rows =
        std::ranges::count_if(kTable, [&](const Row& row) { return matches(row, situation); });
    EXPECT_EQ(rows, 1) << situation;
  }
}

TEST(LoginPermissionTable, SaysWhoMayLogInAndByWhichRule) {
  for (const auto& situation : allSituations()) {
    const auto row =
        std::ranges::find_if(kTable, [&](const Row& each) { return matches(each, situation); });
    ASSERT_NE(row, std::end(kTable)) << situation;
    Platform::install(worldOf(situation));
    // By GUID, since a lookup by user id leaves out a local user without service access.
    const auto found = cachedUserForGUID(kUser);
    ASSERT_NE(found, nullptr) << situation;
    const auto decision = UserAccess::sharedUserAccess()->decideLogin(*found);
    EXPECT_EQ(decision.rule, row->rule)
        << situation << ": " << description(decision.rule) << ", not " << description(row->rule);
    EXPECT_EQ(UserAccess::sharedUserAccess()->canUserLogIn(*found), row->allowed) << situation;
  }
  Platform::install(nullptr);
}

}  // namespace
}  // namespace gatehall
