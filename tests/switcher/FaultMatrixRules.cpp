#include "tests/switcher/FaultMatrixRules.h"

#include <algorithm>
#include <sstream>

namespace gatehall::faultmatrix {

namespace {

constexpr auto kNoSearchNode = "Unable to find the users on the search node.";
constexpr auto kNoUser = "Unable to find user";
constexpr auto kNoLocalName = "Unable to get the local node's name";
constexpr auto kFailedSwitch = "Unable to Fast User Switch: unable to switch to the selected user.";
constexpr auto kDenyNobody = "DenyList names nobody: 6C6B2F1E-0000-4000-8000-00000000A103";
constexpr auto kAllowNobody =
    "AllowList names nobody: 6C6B2F1E-0000-4000-8000-00000000A101, "
    "6C6B2F1E-0000-4000-8000-000000002012";
constexpr auto kRefusedCaller =
    "Unable to Fast User Switch: User must be the current console user or root.";

constexpr auto kGuest = "self.lxAttrTypeNative:_guest";
constexpr auto kManagedFile = "/Library/Managed Preferences/com.orvane.gatehall.plist";

using enum Rule::Effect;

// clang-format off
constexpr Rule kRules[] = {
    // The caller. Nobody catches anything; who can't be told is nobody's owner.
    {"C", "", "", "", 0, "P", Escapes, "", "", ""},
    {"C", "", "", "", 0, "A", RefusesCaller, "", "", kRefusedCaller},

    // The lookup. Its failures are its own to log, and the walk goes on. A user whom the directory
    // doesn't answer for is not found, in silence.
    {"L", "", "node", "UniqueID*", 0, "P", Skips, "", "", kNoSearchNode},
    {"L", "", "node", "UniqueID*", 0, "A", Skips, "", "", ""},
    {"L", "", "query", "", 0, "P", Skips, "", "", kNoUser},
    {"L", "", "query", "", 0, "A", Skips, "", "", ""},
    {"L", "", "queryResults", "", 0, "P", Skips, "", "", kNoUser},
    {"L", "", "queryResults", "", 0, "A", Skips, "", "", ""},
    {"L", "", "recordDetails", "", 0, "P", Skips, "", "", kNoUser},
    {"L", "", "recordDetails", "", 0, "A", Skips, "", "", ""},
    // The record's own user id, which is compared with the one asked for.
    {"L", "", "valuesForAttribute", "self.UniqueID", 1, "P", Skips, "", "", kNoUser},
    {"L", "", "valuesForAttribute", "self.UniqueID", 1, "A", Skips, "", "", ""},
    // Every other attribute is read as a user's, for whom one that can't be read is absent. That
    // makes bob no local user, for which the list of users found doesn't drop him.
    {"L", "", "valuesForAttribute", "self.*", 0, "PA", Nothing, "", "", ""},
    {"L", "", "mayLogInNow", "", 0, "P", Skips, "", "", kNoUser},
    {"L", "", "mayLogInNow", "", 0, "A", Nothing, "", "", ""},
    // The local node's name is asked for again when it is needed next.
    {"L", "", "node", "nodeName*", 0, "P", Nothing, "", "", kNoLocalName},
    {"L", "", "node", "nodeName*", 0, "A", Nothing, "", "", ""},
    {"L", "", "nodeName", "", 0, "P", Nothing, "", "", kNoLocalName},
    {"L", "", "nodeName", "", 0, "A", Nothing, "", "", ""},
    // The list of users found drops a local one whose service access fails.
    {"L", "", "guidToIdentifier", "", 0, "P", Skips, "", "", kNoUser},
    {"L", "", "guidToIdentifier", "", 0, "A", Nothing, "", "", ""},
    {"L", "", "checkServiceMembership", "", 0, "P", Skips, "", "", kNoUser},
    {"L", "", "checkServiceMembership", "", 0, "A", Skips, "", "", ""},

    // The permission: service access. Without an identifier of the GUID it goes by the user id;
    // without an answer there is none.
    {"P", "", "guidToIdentifier", "", 0, "A", Nothing, "", "", ""},
    {"P", "", "checkServiceMembership", "", 0, "A", Skips, "", "", ""},
    {"P", "", "valuesForAttribute", "self.GUID", 1, "PA", Nothing, "", "", ""},
    // Administrators: nora is only one while the local group answers.
    {"P", "nora", "node", "recordByTypeAndName*", 0, "A", Skips, "", "", ""},
    {"P", "nora", "recordByTypeAndName", "", 0, "A", Skips, "", "", ""},
    {"P", "nora", "isMember", "", 0, "A", Skips, "", "", ""},
    {"P", "", "node", "recordByTypeAndName*", 0, "A", Nothing, "", "", ""},
    {"P", "", "recordByTypeAndName", "", 0, "A", Nothing, "", "", ""},
    {"P", "", "isMember", "", 0, "A", Nothing, "", "", ""},
    // A local user whose node can't be read is held against the lists, where local users are not.
    {"P", "bob carol gus mia", "valuesForAttribute", "self.MetaNodeLocation", 0, "PA", Skips, "", "", ""},
    // OPEN: a mobile user whose mark can't be read is a local one, whom no list concerns.
    {"P", "erin", "valuesForAttribute", "self.CopyTimestamp", 0, "PA", Hands, "", "erin", ""},
    // OPEN: a GUID that can't be read is in no list, not in the deny list either.
    {"P", "finn", "valuesForAttribute", "self.GUID", 2, "PA", Hands, "", "finn", ""},
    {"P", "dana", "valuesForAttribute", "self.GUID", 3, "PA", Skips, "", "", ""},
    {"P", "", "valuesForAttribute", "self.*", 0, "PA", Nothing, "", "", ""},
    // The switch for local users is on unless it is known to be off.
    {"P", "", "applicationBoolean", "", 0, "A", Nothing, "", "", ""},
    // OPEN: a managed file that can't be read is none, and holds no deny list.
    {"P", "", "readPropertyList", kManagedFile, 0, "A", Hands, "finn", "finn", ""},
    {"P", "", "readPropertyList", "", 0, "A", Nothing, "", "", ""},
    // The network. Its measure is the first one's, and absorbs what the directory raises.
    {"P", "", "node", "subnodeNames*", 0, "PA", Skips, "dana", "", ""},
    {"P", "", "subnodeNames", "", 0, "PA", Skips, "dana", "", ""},
    {"P", "", "unreachableSubnodeNames", "", 0, "P", Skips, "dana", "", ""},
    {"P", "", "unreachableSubnodeNames", "", 0, "A", Nothing, "", "", ""},
    // The lists, which erin is the first to need. A member without a GUID is a failure even if
    // nothing was raised.
    {"P", "erin", "valuesForAttribute", "finn.GUID", 0, "PA", Escapes, "", "", ""},
    {"P", "erin", "valuesForAttribute", "dana.GUID", 0, "PA", Escapes, "", "", ""},
    // A deny list that can't be expanded is none, for her; it is expanded again for the next one.
    {"P", "erin", "node", "GUID night", 0, "A", Nothing, "", "", kDenyNobody},
    {"P", "erin", "query", "GUID night", 0, "A", Nothing, "", "", kDenyNobody},
    {"P", "erin", "queryResults", "GUID night", 0, "A", Nothing, "", "", kDenyNobody},
    {"P", "erin", "recordType", "night", 2, "A", Nothing, "", "", kDenyNobody},
    {"P", "erin", "valuesForAttribute", "night.GUID", 0, "A", Nothing, "", "", kDenyNobody},
    // OPEN: a group whose members can't be read has none, and the deny list is kept like that.
    {"P", "erin", "recordType", "night", 1, "A", Hands, "finn", "finn", ""},
    {"P", "erin", "recordType", "night", 3, "A", Hands, "finn", "finn", kDenyNobody},
    {"P", "erin", "valuesForAttribute", "night.GroupMembership", 0, "A", Hands, "finn", "finn", kDenyNobody},
    {"P", "erin", "node", "RecordName finn", 1, "A", Hands, "finn", "finn", kDenyNobody},
    {"P", "erin", "query", "RecordName finn", 1, "A", Hands, "finn", "finn", kDenyNobody},
    {"P", "erin", "queryResults", "RecordName finn", 1, "A", Hands, "finn", "finn", kDenyNobody},
    {"P", "erin", "recordType", "night", 4, "A", Nothing, "", "", ""},
    {"P", "erin", "valuesForAttribute", "night.NestedGroups", 0, "A", Nothing, "", "", ""},
    // OPEN: an allow list that can't be had is none, which admits her; the next one has it again.
    {"P", "erin", "copyApplicationValue", "AllowList", 0, "A", Hands, "", "erin", ""},
    {"P", "erin", "node", "GUID day", 0, "A", Hands, "", "erin", kAllowNobody},
    {"P", "erin", "query", "GUID day", 0, "A", Hands, "", "erin", kAllowNobody},
    {"P", "erin", "queryResults", "GUID day", 0, "A", Hands, "", "erin", kAllowNobody},
    // Of the allow list's two entries ivan stays, so it is kept without the group's members.
    {"P", "erin", "recordType", "day", 1, "A", Skips, "dana", "", ""},
    {"P", "erin", "recordType", "day", 2, "A", Skips, "dana", "", ""},
    {"P", "erin", "recordType", "day", 3, "A", Skips, "dana", "", ""},
    {"P", "erin", "valuesForAttribute", "day.GUID", 0, "A", Skips, "dana", "", ""},
    {"P", "erin", "valuesForAttribute", "day.GroupMembership", 0, "A", Skips, "dana", "", ""},
    {"P", "erin", "node", "RecordName dana", 0, "A", Skips, "dana", "", ""},
    {"P", "erin", "query", "RecordName dana", 0, "A", Skips, "dana", "", ""},
    {"P", "erin", "queryResults", "RecordName dana", 0, "A", Skips, "dana", "", ""},
    // What is missing of the nested group is finn, whom the deny list refuses.
    {"P", "erin", "recordType", "day", 4, "A", Nothing, "", "", ""},
    {"P", "erin", "valuesForAttribute", "day.NestedGroups", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "node", "GUID dusk", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "query", "GUID dusk", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "queryResults", "GUID dusk", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "recordType", "dusk", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "valuesForAttribute", "dusk.*", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "node", "RecordName finn", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "query", "RecordName finn", 2, "A", Nothing, "", "", ""},
    {"P", "erin", "queryResults", "RecordName finn", 2, "A", Nothing, "", "", ""},
    // ivan is a record of the allow list's own.
    {"P", "erin", "recordType", "ivan", 0, "A", Nothing, "", "", ""},
    {"P", "erin", "valuesForAttribute", "ivan.GUID", 0, "PA", Escapes, "", "", ""},
    // Whatever else the rules ask for: what is raised reaches the end.
    {"P", "", "", "", 0, "P", Escapes, "", "", ""},

    // The hand-over. A guest who can't be told for one is asked for a password, and has none.
    {"H", "gus", "valuesForAttribute", kGuest, 0, "PA", Hands, "", "gus without a password", ""},
    {"H", "", "valuesForAttribute", "self.*", 0, "PA", Nothing, "", "", ""},
    // A network user whose service access fails now is handed over for the password to be asked.
    {"H", "", "guidToIdentifier", "", 0, "A", Nothing, "", "", ""},
    {"H", "", "checkServiceMembership", "", 0, "A", Nothing, "", "", ""},
    // A check that fails means that a password is needed.
    {"H", "bob", "verifyPassword", "", 0, "PA", Hands, "", "bob", ""},
    {"H", "", "verifyPassword", "", 0, "PA", Nothing, "", "", ""},
    {"H", "", "recordDetails", "", 0, "PA", Skips, "", "", kFailedSwitch},
    {"H", "", "switchToUser", "", 0, "A", Skips, "", "", ""},
    {"H", "", "", "", 0, "P", Skips, "", "", kFailedSwitch},

    {"S", "", "switchToLoginScreen", "", 0, "P", Escapes, "", "", ""},
    {"S", "", "switchToLoginScreen", "", 0, "A", NoLoginScreen, "", "", ""},
};
// clang-format on

bool namesPerson(std::string_view people, std::string_view person) {
  std::istringstream names{std::string(people)};
  for (std::string name; names >> name;) {
    if (name == person) return true;
  }
  return people.empty();
}

bool opensANode(std::string_view operation) {
  return operation == "defaultSession" || operation == "nodeByType" || operation == "nodeByName";
}

bool matchesDetail(std::string_view pattern, std::string_view detail) {
  if (pattern.ends_with('*')) return detail.starts_with(pattern.substr(0, pattern.size() - 1));
  return pattern.empty() || pattern == detail;
}

}  // namespace

std::span<const Rule> rules() { return kRules; }

bool matches(const Rule& rule, const Site& site, Fault::Kind kind) {
  const char letter = kind == Fault::Kind::Absent ? 'A' : 'P';
  return rule.phases.front() == static_cast<char>(site.phase) &&
         namesPerson(rule.people, site.person) &&
         (rule.operation.empty() || rule.operation == site.operation ||
          (rule.operation == "node" && opensANode(site.operation))) &&
         matchesDetail(rule.detail, site.detail) && (rule.nth == 0 || rule.nth == site.nth) &&
         rule.kinds.find(letter) != std::string_view::npos;
}

}  // namespace gatehall::faultmatrix
