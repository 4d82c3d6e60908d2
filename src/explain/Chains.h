#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "gatehall/base/Value.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// Through which groups a list of users and groups comes to each of its users: walked over the same
/// members as expandGUIDList walks, nested groups by their distance, every group once.
class Chains {
 public:
  /// Of an allow or deny list's GUIDs. May raise PlatformException.
  explicit Chains(const Strings& guids);

  struct Chain {
    std::string entry;  ///< the GUID of the list that it begins with, as its record spells it
    Strings names;      ///< from the group or user of the entry to the user
  };

  /// The shortest chain to the user of the GUID; absent when none leads there.
  std::optional<Chain> to(const std::string& guid) const;

 private:
  struct Link {
    std::string name;
    std::size_t from;  ///< the link before; its own place for an entry of the list
    std::string guid;
  };

  std::size_t add(DirectoryRecord& record, std::optional<std::size_t> from);
  void addUser(DirectoryRecord& user, std::optional<std::size_t> from);

  std::vector<Link> mLinks;
  std::unordered_map<std::string, std::size_t> mUsers;  ///< the first link of each, by GUID
};

}  // namespace gatehall
