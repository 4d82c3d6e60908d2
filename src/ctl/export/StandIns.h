#pragma once

#include <map>
#include <string>
#include <string_view>

#include "ctl/print/Json.h"
#include "gatehall/platform/Collation.h"

namespace gatehall::ctl {

/// What stands in an anonymous world for each name and GUID of a world. One that the world has no
/// record of gets a stand-in when it first comes up.
class StandIns {
 public:
  /// By the records of a world.
  StandIns(const Json& world, Collation& collation);

  std::string user(const std::string& name);
  std::string group(const std::string& name);
  std::string node(const std::string& name);
  std::string guid(const std::string& guid);

  /// Of the account with that login name.
  std::string fullName(const std::string& name);

 private:
  using Texts = std::map<std::string, std::string, std::less<>>;

  static std::string made(Texts& texts, const std::string& text, std::string_view prefix,
                          std::size_t& last);

  Texts mUsers;
  Texts mGroups;
  Texts mNodes;
  Texts mGUIDs;
  std::size_t mLastUser = 0;
  std::size_t mLastGroup = 0;
  std::size_t mLastNode = 0;
  std::size_t mLastGUID = 0;
  int mDigits = 1;  ///< of the users' numbers, so that they stand in the order of the numbers
};

/// The attribute's values as texts; none when it is missing.
Strings textsOf(const Json& attributes, std::string_view kind);

}  // namespace gatehall::ctl
