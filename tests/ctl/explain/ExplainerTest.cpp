#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/explain/ExplanationText.h"
#include "tests/accounts/Town.h"

namespace gatehall {
namespace {

using ctl::jsonOf;
using ctl::linesAbout;
using ctl::linesAboutOthers;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kClass = "00000000-0000-4000-8000-00000000C1A5";
constexpr const char* kHalf = "00000000-0000-4000-8000-00000000C1AB";
constexpr const char* kDana = "00000000-0000-4000-8000-0000000DA4A0";

/// A managed setting.
std::string managed(const std::string& settings) {
  return R"(, "managed": { "com.orvane.gatehall": { )" + settings + " } }";
}

/// The town, with a class of the network whose half nests it again, and holds dana.
class ClassTown : public Town {
 public:
  explicit ClassTown(const std::string& sections) : Town(sections) {
    const auto node = world().directory().node("ldap/town");
    const auto add = [&](const char* name, const char* guid, Strings members, Strings nested) {
      node->addRecord({"Groups",
                       {{"RecordName", {name}},
                        {"GUID", {guid}},
                        {"GroupMembership", std::move(members)},
                        {"NestedGroups", std::move(nested)}},
                       std::nullopt,
                       std::nullopt});
    };
    add("class-7", kClass, {}, {kHalf});
    add("class-7b", kHalf, {"dana"}, {kClass});
  }
};

Explained explanationOf(const Town& town, const std::string& operand) {
  Explainer explainer(town.accounts());
  return explained(town.accounts(), explainer, accountMeant(town.accounts(), operand));
}

Strings linesFor(const Explained& each) { return linesAbout(each, false, 66); }

TEST(Explainer, NamesTheChainOfGroupsFromTheListToTheUserAndWhereTheListIsSet) {
  const ClassTown town(managed(std::string(R"("DenyList": [ "nobody", ")") + kClass + R"(" ])"));
  const auto dana = explanationOf(town, "dana");
  EXPECT_EQ(dana.verdict.rule, "denied by GUID");
  EXPECT_EQ(dana.explanation.key, "DenyList");
  EXPECT_EQ(dana.explanation.entry, kClass);
  EXPECT_THAT(dana.explanation.chain, ElementsAre("DenyList", "class-7", "class-7b", "dana"));
  EXPECT_EQ(dana.explanation.place.file, "test.world.json");
  EXPECT_THAT(linesFor(dana), ElementsAre("DenyList \u2192 class-7 \u2192 class-7b \u2192 dana",
                                          "DenyList in test.world.json"));
}

TEST(Explainer, NamesTheShortestChain) {
  const ClassTown town(
      managed(std::string(R"("AllowList": [ ")") + kClass + R"(", ")" + kDana + R"(" ])"));
  const auto dana = explanationOf(town, "dana");
  EXPECT_EQ(dana.verdict.rule, "allowed by GUID");
  EXPECT_EQ(dana.explanation.entry, kDana);
  EXPECT_THAT(dana.explanation.chain, ElementsAre("AllowList", "dana"));
}

TEST(Explainer, SaysWhatAListThatMatchesNobodyByNameStandsFor) {
  const auto everyone = explanationOf(Town(managed(R"("DenyList": [ "*" ])")), "dana");
  EXPECT_EQ(everyone.explanation.entry, "*");
  EXPECT_THAT(everyone.explanation.chain, IsEmpty());
  EXPECT_THAT(everyone.explanation.text, HasSubstr("every network user"));
  const auto others = explanationOf(
      Town(managed(R"("AllowList": [ "00000000-0000-4000-8000-0000000A0000" ])")), "dana");
  EXPECT_EQ(others.verdict.rule, "not in the allow list");
  EXPECT_EQ(others.explanation.key, "AllowList");
  const auto none = explanationOf(Town(managed(R"("AllowList": [ "nobody" ])")), "dana");
  EXPECT_EQ(none.explanation.text, "AllowList names nobody: it counts as none");
  const auto empty = explanationOf(Town(managed(R"("AllowList": [])")), "dana");
  EXPECT_EQ(empty.explanation.text, "AllowList names nobody: it counts as none");
  EXPECT_THAT(explanationOf(Town(), "dana").explanation.text, HasSubstr("isn't set"));
}

TEST(Explainer, NamesTheAdministratorsGroup) {
  const auto ann = explanationOf(Town(), "ann");
  EXPECT_THAT(ann.explanation.chain, ElementsAre("admin", "ann"));
  EXPECT_EQ(ann.explanation.key, "");
  EXPECT_EQ(ann.explanation.place.file, "");
}

TEST(Explainer, NamesTheSettingOfLocalUsersAndItsFileWhereItIsSet) {
  const auto shut = explanationOf(Town(managed(R"("LocalUserLoginEnabled": false)")), "bob");
  EXPECT_EQ(shut.explanation.key, "LocalUserLoginEnabled");
  EXPECT_EQ(shut.explanation.place.file, "test.world.json");
  const auto open = explanationOf(Town(), "bob");
  EXPECT_EQ(open.explanation.key, "LocalUserLoginEnabled");
  EXPECT_EQ(open.explanation.place.file, "");
}

TEST(Explainer, TellsTheHoursThatApplyBesides) {
  const Town town(
      R"(, "now": "2026-11-21T09:00:00Z", "parentalControls": {
           "1001": { "allowed": true, "nextCurfew": "2026-11-21T20:00:00Z" },
           "1002": { "allowed": false, "result": 3, "nextCurfew": "2026-11-22T07:30:00Z" } })");
  for (const auto* name : {"bob", "carol"}) {
    town.world()
        .directory()
        .node("local")
        ->record("Users", name)
        ->setValues("TavloSettings", {"limits"});
  }
  const auto bob = explanationOf(town, "bob");
  EXPECT_TRUE(bob.verdict.allowed);
  EXPECT_EQ(jsonOf(propertiesOf(bob))["hours"],
            ctl::Json::parse(R"({"allowedNow": true, "until": "2026-11-21T20:00:00Z"})"));
  EXPECT_EQ(linesFor(bob).back(), "login hours: now, until 2026-11-21 20:00 UTC");
  const auto carol = explanationOf(town, "carol");
  EXPECT_TRUE(carol.verdict.allowed) << "hours are no login rule";
  EXPECT_EQ(linesFor(carol).back(), "login hours: not now, from 2026-11-22 07:30 UTC");
  EXPECT_TRUE(jsonOf(propertiesOf(explanationOf(town, "ann")))["hours"].is_null());
}

TEST(Explainer, TellsTheOthersWhoAreMeantAndTheNamesThatComeNear) {
  const Town town;
  EXPECT_THAT(linesAboutOthers(accountMeant(town.accounts(), "carol"), 66),
              ElementsAre("also meant: carol of ldap/town, user id 20003"));
  EXPECT_THAT(
      linesAboutOthers(accountMeant(town.accounts(), "1001"), 66),
      ElementsAre("also meant: robert of ldap/town, user id 1001: hidden by a local", "account"));
  EXPECT_THAT(linesAboutOthers(accountMeant(town.accounts(), "dnaa"), 80),
              ElementsAre("near: dana"));
  const auto carol = jsonOf(propertiesOf(explanationOf(town, "carol")));
  ASSERT_EQ(carol["others"].size(), 1U);
  EXPECT_EQ(carol["others"][0]["uid"], 20003);
  EXPECT_TRUE(carol["others"][0]["reason"].is_null());
  const auto bob = jsonOf(propertiesOf(explanationOf(town, "1001")));
  EXPECT_EQ(bob["others"][0]["reason"], "bob of local has the same user id");
}

TEST(Explainer, HasAKeyForEachThingInEveryAnswer) {
  Strings keys;
  const auto nobody = jsonOf(propertiesOf(explanationOf(Town(), "ivy")));
  for (const auto& [key, value] : nobody.items()) keys.push_back(key);
  EXPECT_THAT(keys, ElementsAre("uid", "found", "allowed", "rule", "source", "name", "longName",
                                "guid", "node", "reason", "file", "line", "key", "entry", "chain",
                                "hours", "unknown", "others", "nearest"));
  EXPECT_EQ(nobody["name"], "ivy");
  EXPECT_TRUE(nobody["uid"].is_null());
}

}  // namespace
}  // namespace gatehall
