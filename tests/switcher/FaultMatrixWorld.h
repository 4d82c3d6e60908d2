#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tests/Cast.h"
#include "world/file/WorldFile.h"

namespace gatehall::faultmatrix {

/// Somebody to switch to, and what comes of it when nothing fails: how the login service is asked,
/// "" when it isn't.
struct Person {
  std::string_view name;
  std::int32_t userID;
  std::string_view outcome;
};

/// In the order in which they are asked for. The managed deny list holds the group night (finn),
/// the allow list of the preferences the group day (dana), which nests dusk (finn).
inline constexpr std::array<Person, 12> kPeople = {{
    {"bob", 1001, "bob without a password"},
    {"carol", 1002, "carol"},
    {"gus", 1004, "gus"},
    {"mia", 1005, "mia"},    // local, managed, with a curfew
    {"erin", 1003, ""},      // mobile, not in the allow list
    {"dana", 2001, "dana"},  // on the network, in the allow list
    {"nora", 2013, "nora"},  // on the network, in no list, an administrator
    {"finn", 2010, ""},      // on the network, in both lists
    {"hana", 2011, ""},      // on the network, in no list
    {"lou", 1006, ""},       // local, without service access
    {"ivan", 2012, ""},      // on the network, in the allow list, without service access
    {"nobody", 7777, ""},
}};

inline std::shared_ptr<World> world() {
  static constexpr std::string_view mia = R"({ "type": "Users", "attributes": {
      "RecordName": "mia", "UniqueID": 1005, "GUID": "6C6B2F1E-0000-4000-8000-000000001005",
      "TavloSettings": "limits" }, "password": "mia's secret" })";
  static constexpr std::string_view lou = R"({ "type": "Users", "attributes": {
      "RecordName": "lou", "UniqueID": 1006, "GUID": "6C6B2F1E-0000-4000-8000-000000001006" },
      "password": "" })";
  static constexpr std::string_view nora = R"({ "type": "Users", "attributes": {
      "RecordName": "nora", "UniqueID": 2013, "GUID": "6C6B2F1E-0000-4000-8000-000000002013" },
      "password": "nora's secret" })";
  static constexpr std::string_view finn = R"({ "type": "Users", "attributes": {
      "RecordName": "finn", "UniqueID": 2010, "GUID": "6C6B2F1E-0000-4000-8000-000000002010" },
      "password": "finn's secret" })";
  static constexpr std::string_view hana = R"({ "type": "Users", "attributes": {
      "RecordName": "hana", "UniqueID": 2011, "GUID": "6C6B2F1E-0000-4000-8000-000000002011" },
      "password": "hana's secret" })";
  static constexpr std::string_view ivan = R"({ "type": "Users", "attributes": {
      "RecordName": "ivan", "UniqueID": 2012, "GUID": "6C6B2F1E-0000-4000-8000-000000002012" },
      "password": "" })";
  static constexpr std::string_view admin = R"({ "type": "Groups", "attributes": {
      "RecordName": "admin", "GUID": "6C6B2F1E-0000-4000-8000-00000000A000",
      "GroupMembership": ["ann", "nora"] } })";
  static constexpr std::string_view day = R"({ "type": "Groups", "attributes": {
      "RecordName": "day", "GUID": "6C6B2F1E-0000-4000-8000-00000000A101",
      "GroupMembership": ["dana"], "NestedGroups": ["6C6B2F1E-0000-4000-8000-00000000A102"] } })";
  static constexpr std::string_view dusk = R"({ "type": "Groups", "attributes": {
      "RecordName": "dusk", "GUID": "6C6B2F1E-0000-4000-8000-00000000A102",
      "GroupMembership": ["finn"] } })";
  static constexpr std::string_view night = R"({ "type": "Groups", "attributes": {
      "RecordName": "night", "GUID": "6C6B2F1E-0000-4000-8000-00000000A103",
      "GroupMembership": ["finn"] } })";
  static constexpr std::string_view sections = R"(
    "process": { "effectiveUserID": 1000 },
    "sessions": { "current": 1,
                  "list": [ { "id": 1, "userID": 1000, "userName": "ann", "loginDone": true } ] },
    "membership": { "gatehall": { "members": [ 1000, 1001, 1002, 1003, 1004, 1005,
                                               2001, 2010, 2011, 2013 ] } },
    "parentalControls": { "1005": { "allowed": true, "nextCurfew": "2026-01-01T20:00:00Z" } },
    "preferences": { "com.orvane.gatehall": { "system": {
      "LocalUserLoginEnabled": true,
      "AllowList": [ "6C6B2F1E-0000-4000-8000-00000000A101",
                     "6C6B2F1E-0000-4000-8000-000000002012" ] } } },
    "managed": { "com.orvane.gatehall": {
      "DenyList": [ "6C6B2F1E-0000-4000-8000-00000000A103" ] } })";
  return worldFromText(
      cast::machine(
          {cast::kAnn, cast::kBob, cast::kCarol, cast::kErin, cast::kGus, mia, lou, admin},
          {cast::kDana, nora, finn, hana, ivan, day, dusk, night}, sections),
      "world.json");
}

}  // namespace gatehall::faultmatrix
