#include "gatehall/directory/GroupConvenience.h"

#include <utility>

#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

/// What the group lists under the kind; absent for a record that is no group, and when it is empty.
std::optional<Strings> listed(DirectoryRecord& group, std::string_view kind) {
  if (group.recordType() != record::Groups) return std::nullopt;
  auto values = group.valuesForAttribute(kind);
  if (!values || values->empty()) return std::nullopt;
  return values;
}

}  // namespace

std::optional<Records> nestedGroups(DirectoryRecord& group) {
  auto guids = listed(group, attribute::NestedGroups);
  if (!guids) return std::nullopt;
  return queryResults(
      searchNode(),
      equalTo({record::Groups}, attribute::GUID, std::move(*guids),
              {std::string(attribute::MetaNodeLocation), std::string(attribute::GUID),
               std::string(attribute::GroupMembers), std::string(attribute::NestedGroups)}));
}

std::optional<Records> users(DirectoryRecord& group) {
  auto names = listed(group, attribute::GroupMembership);
  if (!names) return std::nullopt;
  return queryResults(searchNode(), equalTo({record::Users}, attribute::RecordName,
                                            std::move(*names), {std::string(attribute::GUID)}));
}

}  // namespace gatehall
