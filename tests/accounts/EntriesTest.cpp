#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "accounts/Entries.h"
#include "tests/accounts/Town.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kDana = "00000000-0000-4000-8000-0000000DA4A0";
constexpr const char* kAdmin = "00000000-0000-4000-8000-00000000AD31";

Strings found(const std::vector<Entry>& entries) {
  Strings texts;
  for (const auto& each : entries) texts.push_back(std::string(kindOf(each)) + " " + each.name);
  return texts;
}

TEST(Entries, AreMeantByNameTheUsersFirstByUserIDAndByGUID) {
  const Town town;
  town.world()
      .directory()
      .node("ldap/town")
      ->addRecord(
          {"Groups", {{"RecordName", {"dana"}}, {"GUID", {"g"}}}, std::nullopt, std::nullopt});
  EXPECT_THAT(found(entriesMeant(town.accounts(), "dana")), ElementsAre("user dana", "group dana"));
  EXPECT_THAT(found(entriesMeant(town.accounts(), "admin")), ElementsAre("group admin"));
  EXPECT_THAT(found(entriesMeant(town.accounts(), "20001")), ElementsAre("user dana"));
  EXPECT_THAT(found(entriesMeant(town.accounts(), "00000000-0000-4000-8000-00000000ad31")),
              ElementsAre("group admin"));
  EXPECT_THAT(entriesMeant(town.accounts(), "somebody"), IsEmpty());
}

TEST(Entries, OfNobodyGetTheNearestNamesOfUsersAndGroups) {
  const Town town;
  EXPECT_EQ(nobodyMeant(town.accounts(), "admni"), "admni is no user and no group; near: admin");
  EXPECT_EQ(nobodyMeant(town.accounts(), "dnaa"), "dnaa is no user and no group; near: dana");
  EXPECT_EQ(nobodyMeant(town.accounts(), "4711"), "4711 is no user and no group");
}

TEST(Entries, AreNamedForEachGUIDInItsPlace) {
  const Town town;
  const auto entries =
      entriesWithGUIDs({"*", "00000000-0000-4000-8000-0000000da4a0", kAdmin, "nobody"});
  EXPECT_THAT(found(entries), ElementsAre("user ", "user dana", "group admin", "user "));
  EXPECT_EQ(entries[0].guid, "*");
  EXPECT_EQ(entries[1].guid, kDana);
}

TEST(Entries, HaveNoNamesWhileTheDirectoryFails) {
  const Town town(R"(, "faults": [ { "operation": "queryResults", "raise": "platform" } ])");
  EXPECT_THAT(found(entriesWithGUIDs({kDana})), ElementsAre("user "));
}

}  // namespace
}  // namespace gatehall
