#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

/// The people of the tests, each named for one trait, and the machine they live on. Records are
/// written as in a world file.
namespace gatehall::cast {

inline constexpr std::string_view kLocalNode = "local";
inline constexpr std::string_view kUnixNode = "unix";
inline constexpr std::string_view kNetworkNode = "ldap/ldap.example.org";

inline constexpr std::string_view kAnnGUID = "6C6B2F1E-0000-4000-8000-000000001000";
inline constexpr std::string_view kBobGUID = "6C6B2F1E-0000-4000-8000-000000001001";
inline constexpr std::string_view kCarolGUID = "6C6B2F1E-0000-4000-8000-000000001002";
inline constexpr std::string_view kErinGUID = "6C6B2F1E-0000-4000-8000-000000001003";
inline constexpr std::string_view kGusGUID = "6C6B2F1E-0000-4000-8000-000000001004";
inline constexpr std::string_view kDanaGUID = "6C6B2F1E-0000-4000-8000-000000002001";
inline constexpr std::string_view kRootGUID = "6C6B2F1E-0000-4000-8000-000000000000";
inline constexpr std::string_view kAdminGroupGUID = "6C6B2F1E-0000-4000-8000-00000000A000";
inline constexpr std::string_view kStaffGroupGUID = "6C6B2F1E-0000-4000-8000-00000000A020";

inline constexpr std::string_view kCarolPassword = "carol's secret";
inline constexpr std::string_view kDanaPassword = "dana's secret";

/// The machine's owner, 1000, an administrator, who goes by annie too.
inline constexpr std::string_view kAnn = R"({ "type": "Users", "attributes": {
    "RecordName": ["ann", "annie"], "UniqueID": 1000, "PrimaryGroupID": 20, "FullName": "Ann Lee",
    "GUID": "6C6B2F1E-0000-4000-8000-000000001000", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/home/ann", "Picture": "/usr/share/pictures/ann.png",
    "AuthenticationAuthority": ";ShadowHash;", "Password": "********" },
  "password": "ann's secret" })";

/// 1001, without a password.
inline constexpr std::string_view kBob = R"({ "type": "Users", "attributes": {
    "RecordName": "bob", "UniqueID": 1001, "PrimaryGroupID": 20, "FullName": "Bob Ray",
    "GUID": "6C6B2F1E-0000-4000-8000-000000001001", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/home/bob", "AuthenticationAuthority": ";ShadowHash;",
    "Password": "********" },
  "password": "" })";

/// 1002, with a password.
inline constexpr std::string_view kCarol = R"({ "type": "Users", "attributes": {
    "RecordName": "carol", "UniqueID": 1002, "PrimaryGroupID": 20, "FullName": "Carol Diaz",
    "GUID": "6C6B2F1E-0000-4000-8000-000000001002", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/home/carol", "AuthenticationAuthority": ";ShadowHash;",
    "AuthenticationHint": "what I never say", "Password": "********" },
  "password": "carol's secret" })";

/// 2001, on the network node.
inline constexpr std::string_view kDana = R"({ "type": "Users", "attributes": {
    "RecordName": "dana", "UniqueID": 2001, "PrimaryGroupID": 20, "FullName": "Dana Fox",
    "GUID": "6C6B2F1E-0000-4000-8000-000000002001", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/home/dana", "AuthenticationAuthority": ";Kerberosv5;" },
  "password": "dana's secret" })";

/// 1003, mobile: the local copy of a network account.
inline constexpr std::string_view kErin = R"({ "type": "Users", "attributes": {
    "RecordName": "erin", "UniqueID": 1003, "PrimaryGroupID": 20, "FullName": "Erin Moss",
    "GUID": "6C6B2F1E-0000-4000-8000-000000001003", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/home/erin", "AuthenticationAuthority": ";LocalCachedUser;",
    "CopyTimestamp": "2026-01-05T08:00:00Z", "OriginalNodeName": "ldap/ldap.example.org" },
  "password": "erin's secret" })";

/// What erin's copy was made of.
inline constexpr std::string_view kErinOnTheNetwork = R"({ "type": "Users", "attributes": {
    "RecordName": "erin", "UniqueID": 1003, "PrimaryGroupID": 20, "FullName": "Erin Moss",
    "GUID": "6C6B2F1E-0000-4000-8000-000000001003", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/home/erin", "AuthenticationAuthority": ";Kerberosv5;" },
  "password": "erin's secret",
  "policy": { "maxFailedLoginAttempts": 5 } })";

/// 1004, the guest.
inline constexpr std::string_view kGus = R"({ "type": "Users", "attributes": {
    "RecordName": "gus", "UniqueID": 1004, "PrimaryGroupID": 20, "FullName": "Gus Guest",
    "GUID": "6C6B2F1E-0000-4000-8000-000000001004", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/home/gus", "lxAttrTypeNative:_guest": "true" },
  "password": "" })";

inline constexpr std::string_view kRoot = R"({ "type": "Users", "attributes": {
    "RecordName": "root", "UniqueID": 0, "PrimaryGroupID": 0, "FullName": "System Administrator",
    "GUID": "6C6B2F1E-0000-4000-8000-000000000000", "UserShell": "/bin/bash",
    "NFSHomeDirectory": "/root", "AuthenticationAuthority": ";ShadowHash;" } })";

/// ann is in it.
inline constexpr std::string_view kAdminGroup = R"({ "type": "Groups", "attributes": {
    "RecordName": "admin", "PrimaryGroupID": 80, "GUID": "6C6B2F1E-0000-4000-8000-00000000A000",
    "GroupMembership": ["ann"] } })";

/// Everybody's primary group.
inline constexpr std::string_view kStaffGroup = R"({ "type": "Groups", "attributes": {
    "RecordName": "staff", "PrimaryGroupID": 20, "GUID": "6C6B2F1E-0000-4000-8000-00000000A020" } })";

/// A list of records, as a node of a world file has it.
inline std::string recordList(std::initializer_list<std::string_view> records) {
  std::string text;
  for (const auto record : records) {
    if (!text.empty()) text += ", ";
    text += record;
  }
  return "[" + text + "]";
}

/// A world file's text: a machine with these records on its local node and on its one network node,
/// and with these further sections ("\"membership\": { ... }, ...").
inline std::string machine(std::initializer_list<std::string_view> local,
                           std::initializer_list<std::string_view> network = {},
                           std::string_view sections = "") {
  std::string text = R"({ "directory": { "localNode": "local",
    "searchNode": { "name": "search", "covers": ["local", "unix", "ldap/ldap.example.org"] },
    "nodes": [ { "name": "local", "records": )" +
                     recordList(local) + R"( }, { "name": "unix" },
               { "name": "ldap/ldap.example.org", "records": )" +
                     recordList(network) + " } ] }";
  if (!sections.empty()) text.append(", ").append(sections);
  return text + " }";
}

/// The machine with everybody on it.
inline std::string machineOfAll(std::string_view sections = "") {
  return machine({kRoot, kAnn, kBob, kCarol, kErin, kGus, kAdminGroup, kStaffGroup},
                 {kDana, kErinOnTheNetwork}, sections);
}

}  // namespace gatehall::cast
