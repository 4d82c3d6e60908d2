#include "world/directory/Members.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "gatehall/platform/AttributeKinds.h"
#include "portable/NameBasedUUID.h"

namespace gatehall {

namespace {

bool holdsAny(const RecordContents& group, std::string_view kind, const Strings& wanted) {
  const auto* values = group.values(kind);
  return values != nullptr && std::ranges::find_first_of(*values, wanted) != values->end();
}

bool isSameGUID(std::string_view left, std::string_view right) {
  if (left == right) return true;
  const auto guid = parseUUID(left);
  return guid && guid == parseUUID(right);
}

bool holdsAnyGUID(const RecordContents& group, std::string_view kind, const Strings& wanted) {
  const auto* values = group.values(kind);
  return values != nullptr &&
         std::ranges::find_first_of(*values, wanted, isSameGUID) != values->end();
}

bool holdsDirectly(const RecordContents& group, const Member& member) {
  if (holdsAnyGUID(group, attribute::GroupMembers, member.guids)) return true;
  return member.isGroup ? holdsAnyGUID(group, attribute::NestedGroups, member.guids)
                        : holdsAny(group, attribute::GroupMembership, member.names);
}

}  // namespace

bool holdsMember(const RecordContents& group, const Member& member,
                 const std::vector<RecordTable*>& tables) {
  if (group.type != record::Groups) return false;
  std::set<const RecordContents*> seen = {&group};
  std::vector<const RecordContents*> open = {&group};
  while (!open.empty()) {
    const auto& each = *open.back();
    open.pop_back();
    if (holdsDirectly(each, member)) return true;
    const auto* nested = each.values(attribute::NestedGroups);
    if (nested == nullptr) continue;
    for (const auto& guid : *nested) {
      for (const auto* table : tables) {
        for (const auto& found : table->withValue(record::Groups, attribute::GUID, guid)) {
          if (seen.insert(found->contents.get()).second) open.push_back(found->contents.get());
        }
      }
    }
  }
  return false;
}

}  // namespace gatehall
