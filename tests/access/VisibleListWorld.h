#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "gatehall/access/UserAccess.h"
#include "tests/Cast.h"
#include "tests/InstalledWorld.h"
#include "world/World.h"

namespace gatehall {

/// Cases of the list of users to show.
class VisibleListWorld : public InstalledWorld {
 protected:
  static constexpr std::string_view kDomain = "com.orvane.gatehall";

  std::shared_ptr<UserAccess> access() { return UserAccess::sharedUserAccess(); }

  /// The short names of the list, in its order: "ann bob".
  static std::string names(const std::shared_ptr<CachedUserList>& list) {
    if (!list) return "(no list)";
    std::string text;
    for (const auto& user : *list) {
      if (!text.empty()) text += ' ';
      text += user->shortName().value_or("?");
    }
    return text;
  }

  std::string shown() { return names(access()->visibleUsersList()); }

  std::string built(bool networkUsers = false) {
    return names(access()->buildVisibleUsersListWithNetworkUsers(networkUsers));
  }

  void prefer(std::string_view key, Value value) {
    mWorld->preferences().setValue(WorldPreferences::Scope::System, kDomain, key, std::move(value));
  }

  void addUser(std::string_view name, std::string_view uid) {
    mWorld->directory()
        .node(cast::kLocalNode)
        ->addRecord({.type = "Users",
                     .attributes = {{"RecordName", {std::string(name)}},
                                    {"UniqueID", {std::string(uid)}},
                                    {"GUID",
                                     {"6C6B2F1E-0000-4000-8000-" +
                                      std::string(12 - uid.size(), '0') + std::string(uid)}}},
                     .password = {},
                     .policy = {}});
  }

  /// Everything that is ready happens, on every thread.
  void settle() {
    mWorld->runLoop().pump();
    mWorld->runLoop().runDetachedThreads();
    mWorld->runLoop().settle();
  }

  /// Time passes, and whatever it sets going is done.
  void advance(double seconds) {
    mWorld->runLoop().advance(seconds);
    settle();
  }
};

/// Counts how often it is told.
class CountingTarget : public UserAccessTarget {
 public:
  void visibleUsersListChanged() override { ++told; }
  int told = 0;
};

}  // namespace gatehall
