#pragma once

#include <string>
#include <vector>

#include "accounts/AccountHost.h"
#include "gatehall/base/Value.h"

namespace gatehall {

/// A user or a group, as an allow or deny list names it by its GUID: empty what it lacks.
struct Entry {
  bool isGroup = false;
  std::string name{};
  std::string longName{};
  std::string guid{};
  std::string node{};
};

/// "user" or "group".
const char* kindOf(const Entry& entry);

/// The users and groups that a text means, the users first: by user id, by GUID or, users and
/// groups, by name. Of those of a name the first is the one that counts. Raises MeansNobody as
/// accountMeant, and PlatformException.
std::vector<Entry> entriesMeant(const AccountHost& host, const std::string& operand);

/// What there is to say where none is meant: that, and which names come near. A line.
std::string nobodyMeant(const AccountHost& host, const std::string& operand);

/// The users and groups with the GUIDs, one for each in their order: without a name where nobody
/// has it, and where the directory can't be asked.
std::vector<Entry> entriesWithGUIDs(const Strings& guids);

}  // namespace gatehall
