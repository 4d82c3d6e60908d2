#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux/accounts/Group.h"
#include "linux/local/Context.h"
#include "linux/local/Group.h"

namespace gatehall::local {

/// Who is an administrator: the group "admin", which the local node always has, is made of root and
/// the members of the groups that the settings name: those that the lines name, local accounts
/// whose primary group it is, and those whose user records say so. A group of its name in
/// /etc/group lends it its group id.
class AdminGroup {
 public:
  static constexpr std::string_view kName = "admin";

  explicit AdminGroup(const Settings& settings) : mSettings(settings) {}

  /// Whether the group of that name has a part in it.
  bool isMadeOf(std::string_view name) const;

  /// Takes in such a group, with its line.
  void add(const GroupEntry& entry, std::string_view line);

  /// The group, of what was taken in.
  std::shared_ptr<Group> make(const std::shared_ptr<Context>& context);

 private:
  bool hasMembersOf(std::string_view name) const;

  const Settings& mSettings;
  std::optional<std::uint32_t> mGroupID;
  std::vector<std::string> mMemberLines;
};

}  // namespace gatehall::local
