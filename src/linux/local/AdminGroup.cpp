#include "linux/local/AdminGroup.h"

#include <algorithm>
#include <utility>

namespace gatehall::local {

bool AdminGroup::isMadeOf(std::string_view name) const {
  return name == kName || hasMembersOf(name);
}

bool AdminGroup::hasMembersOf(std::string_view name) const {
  return std::ranges::find(mSettings.adminGroups, name) != mSettings.adminGroups.end();
}

void AdminGroup::add(const GroupEntry& entry, std::string_view line) {
  if (hasMembersOf(entry.name)) mMemberLines.emplace_back(line);
  if (entry.name == kName && !mGroupID) mGroupID = entry.groupID;
}

std::shared_ptr<Group> AdminGroup::make(const std::shared_ptr<Context>& context) {
  return std::make_shared<Group>(context, Group::Identity{std::string(kName), mGroupID, true},
                                 std::move(mMemberLines), Strings{"root"});
}

}  // namespace gatehall::local
