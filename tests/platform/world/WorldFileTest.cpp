#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/AttributeKinds.h"
#include "platform/world/World.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kWholeWorld = R"({
  // A machine with everything that a world file can hold.
  "now": "2026-11-21T09:00:00Z",
  "process": { "effectiveUserID": 1000 },
  "directory": {
    "available": true,
    "localNode": "local",
    "searchNode": {
      "name": "search",
      "covers": ["local", "unix", "ldap/ldap.example.org"],
      "unreachable": ["ldap/ldap.example.org"]
    },
    "nodes": [
      { "name": "local", "records": [
        { "type": "Users",
          "attributes": { "RecordName": ["ann", "annie"], "UniqueID": 1001, "FullName": "Ann Lee",
                          "GUID": ["6C6B2F1E-0000-4000-8000-000000001001"] },
          "password": "",
          "policy": { "maxFailedLoginAttempts": 3 } },
        { "type": "Groups",
          "attributes": { "RecordName": ["admin"], "GUID": ["6C6B2F1E-0000-4000-8000-00000000A001"],
                          "GroupMembership": ["ann"], "NestedGroups": [] } }
      ] },
      { "name": "unix" },
      { "name": "ldap/ldap.example.org", "records": [] }
    ]
  },
  "sessions": {
    "current": 1,
    "list": [ { "id": 1, "userID": 1000, "userName": "bob", "loginDone": true } ]
  },
  "membership": {
    "gatehall": { "members": ["6C6B2F1E-0000-4000-8000-000000001001", 1002] },
    "broken": { "status": 7 }
  },
  "parentalControls": { "1001": { "allowed": false, "result": 3, "nextCurfew": "2026-11-21T20:00:00Z" } },
  "preferences": { "com.orvane.gatehall": { "user": {}, "system": { "Hide500Users": true } } },
  "managed": { "com.orvane.gatehall": { "DenyList": ["*"], "Since": {"$date": "2026-01-01T00:00:00Z"},
                                        "Key": {"$data": "aGVsbG8="} } },
  "faults": [
    { "operation": "verifyPassword", "call": 1, "raise": "platform", "where": { "user": 1001 } },
    { "operation": "queryResults", "raise": "other" },
    { "operation": "localNode", "absent": true }
  ]
})";

std::shared_ptr<World> wholeWorld() { return World::fromText(kWholeWorld, "whole.json"); }

TEST(WorldFile, DescribesAWholeHost) {
  const auto world = wholeWorld();
  const auto search = world->directory().defaultSession()->nodeByType(NodeType::Search);
  ASSERT_NE(search, nullptr);
  EXPECT_THAT(*search->subnodeNames(), ElementsAre("local", "unix", "ldap/ldap.example.org"));
  const auto query =
      search->query({{"Users"}, "UniqueID", MatchType::EqualTo, {"1001"}, {"RecordName"}, 0});
  const auto results = query->results(false);
  ASSERT_TRUE(results && results->size() == 1);
  const auto& ann = results->front();
  EXPECT_THAT(*ann->valuesForAttribute("RecordName"), ElementsAre("ann", "annie"));
  EXPECT_THAT(*ann->valuesForAttribute("FullName"), ElementsAre("Ann Lee"));
  EXPECT_THAT(*ann->valuesForAttribute("MetaNodeLocation"), ElementsAre("local"));
  EXPECT_EQ(ann->passwordPolicy(), (Dictionary{{"maxFailedLoginAttempts", 3}}));
  DirectoryError error;
  EXPECT_TRUE(ann->verifyPassword("", error));
  EXPECT_EQ(world->faults().size(), 3U);
}

}  // namespace
}  // namespace gatehall
