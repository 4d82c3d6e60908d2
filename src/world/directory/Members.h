#pragma once

#include <vector>

#include "world/directory/RecordTable.h"

namespace gatehall {

/// By what a group knows its members.
struct Member {
  bool isGroup = false;
  Strings names;
  Strings guids;
};

/// Whether the group holds the member: by short name, by GUID, or through nested groups (looked up
/// in the tables) at any depth. A group that nests itself holds nobody more for it.
bool holdsMember(const RecordContents& group, const Member& member,
                 const std::vector<RecordTable*>& tables);

}  // namespace gatehall
