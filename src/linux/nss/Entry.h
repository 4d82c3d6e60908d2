#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/nss/GUIDs.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::nss {

/// A user or group of a directory behind the name service. It never changes.
struct Entry {
  Type type = Type::User;
  std::string name;
  UUIDBytes guid{};
  std::uint32_t id = 0;       ///< of the user or group
  std::uint32_t groupID = 0;  ///< a user's primary group, or the group itself
  std::string fullName;
  std::string home;
  std::string shell;
  Strings members;  ///< of a group: login names, as it lists them
  /// Nothing but the name and the GUID is known: of a user as a group's member, and of what the
  /// service doesn't tell of now, and of a group that is left out.
  bool isNameOnly = false;
  std::string whyLeftOut;  ///< of such a group, in words that follow "it"
};

using Entries = std::vector<std::shared_ptr<const Entry>>;

}  // namespace gatehall::nss
