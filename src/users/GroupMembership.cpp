#include "gatehall/users/GroupMembership.h"

#include <iterator>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/GroupConvenience.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/UserLookup.h"

namespace gatehall {

namespace {

/// A record without a GUID can't be listed; leaving it out would admit or refuse it by silence.
std::string requiredGUID(DirectoryRecord& record) {
  auto guid = getGUID(record);
  if (!guid) throw PlatformException("A record has no GUID: " + description(record));
  return std::move(*guid);
}

void append(Strings& guids, Strings&& more) {
  guids.insert(guids.end(), std::make_move_iterator(more.begin()),
               std::make_move_iterator(more.end()));
}

}  // namespace

std::optional<Strings> groupMemberGUIDs(const std::shared_ptr<DirectoryRecord>& group,
                                        VisitedGroups* visited) {
  if (!group || visited == nullptr) return std::nullopt;
  if (group->recordType() != record::Groups) return std::nullopt;
  const auto guid = getGUID(*group);
  if (!guid || guid->empty()) return std::nullopt;
  // Entered before anything is walked, so that a nested group that leads back here stops.
  if (!visited->emplace(*guid, group).second) return std::nullopt;

  Strings guids;
  for (const auto& user : users(*group).value_or(Records())) guids.push_back(requiredGUID(*user));
  for (const auto& nested : nestedGroups(*group).value_or(Records())) {
    if (auto members = groupMemberGUIDs(nested, visited)) append(guids, std::move(*members));
  }
  return guids;
}

std::optional<Strings> expandGUIDList(const std::optional<Strings>& guids) {
  if (!guids) return std::nullopt;
  const auto found =
      queryResults(searchNode(), equalTo({record::Users, record::Groups}, attribute::GUID, *guids,
                                         CachedUser::desiredAttributes()));
  if (!found) return std::nullopt;

  std::optional<Strings> expanded;
  VisitedGroups visited;
  for (const auto& each : *found) {
    std::optional<Strings> members;
    if (each->recordType() == record::Groups) {
      members = groupMemberGUIDs(each, &visited);
    } else {
      members = Strings{requiredGUID(*each)};
    }
    if (!members) continue;
    if (!expanded) expanded.emplace();
    append(*expanded, std::move(*members));
  }
  return expanded;
}

std::shared_ptr<CachedUserList> adminGroupUsers() {
  const auto groups =
      queryResults(localNode(), equalTo({record::Groups}, attribute::RecordName, {"admin"},
                                        {std::string(attribute::GroupMembers)}));
  if (!groups) return nullptr;

  std::optional<Strings> guids;
  VisitedGroups visited;
  for (const auto& group : *groups) {
    auto members = groupMemberGUIDs(group, &visited);
    if (!members) continue;
    if (!guids) guids.emplace();
    append(*guids, std::move(*members));
  }
  return cachedUserListForGUIDs(guids);
}

}  // namespace gatehall
