#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "gatehall/platform/Log.h"
#include "gatehall/platform/MembershipService.h"
#include "world/directory/WorldDirectory.h"

namespace gatehall {

/// Whom a service admits.
struct AccessList {
  /// GUIDs of accounts or of groups, or user ids. A group's members are admitted, nested ones too.
  std::vector<std::variant<std::string, std::uint32_t>> members;
  int status = 0;  ///< answered in place of the list unless it is 0
  /// Why it can't be told of others whether they are in it; empty: they aren't.
  std::string missing{};
};

/// The membership service of a world; at first no service has an access list. From any thread.
class WorldMembership final : public MembershipService {
 public:
  explicit WorldMembership(WorldDirectory& directory) : mDirectory(directory) {}

  int guidToIdentifier(std::string_view guid, Identifier& identifier) override;
  int userIDToIdentifier(std::uint32_t userID, Identifier& identifier) override;
  int checkServiceMembership(const Identifier& identifier, std::string_view service,
                             bool& isMember) override;

  void setAccessList(std::string_view service, AccessList list);
  void removeAccessList(std::string_view service);
  /// By service.
  std::map<std::string, AccessList, std::less<>> accessLists();

  /// Where it is told that nothing can be told, for as long as the lists are used.
  void setLog(Log& log) { mLog = &log; }

 private:
  bool admits(const AccessList& list, const Identifier& identifier);
  bool groupHolds(std::string_view groupGUID, const Identifier& identifier);

  WorldDirectory& mDirectory;
  Log* mLog = nullptr;
  std::mutex mMutex;
  std::map<std::string, AccessList, std::less<>> mLists;
};

}  // namespace gatehall
