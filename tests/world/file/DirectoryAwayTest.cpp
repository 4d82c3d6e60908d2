#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "world/file/WorldFile.h"

// What a world says of a machine's directories beyond their records.

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::shared_ptr<World> worldWith(std::string_view search, std::string_view setup) {
  std::string text(R"({"directory": {"localNode": "local", "searchNode": {
      "name": "search", "covers": ["local", "unix", "ldap/a", "ldap/b"])");
  text.append(search).append(R"(}, "nodes": [{"name": "local", "records": [
      {"type": "Users", "attributes": {"RecordName": "ann", "UniqueID": 1000,
                                       "GUID": "6C6B2F1E-0000-4000-8000-000000001000"}}]},
    {"name": "ldap/a", "records": [
      {"type": "Users", "attributes": {"RecordName": "ann", "UniqueID": 1000,
                                       "GUID": "6C6B2F1E-0000-4000-8000-000000001000"}},
      {"type": "Users", "attributes": {"RecordName": "dana", "UniqueID": 2000}}]},
    {"name": "ldap/b")");
  return worldFromText(text.append(setup).append("}]}}"), "w.json");
}

Strings nodesOf(World& world, std::string_view kind, std::string value, bool allowPartial = false) {
  const auto search = world.directory().defaultSession()->nodeByType(NodeType::Search);
  const auto query = search->query(
      {{std::string(record::Users)}, std::string(kind), MatchType::EqualTo, {value}, {}, 0});
  Strings nodes;
  const auto found = query->results(allowPartial).value();
  for (const auto& each : found) {
    nodes.push_back(each->valuesForAttribute(attribute::MetaNodeLocation)->front());
  }
  return nodes;
}

constexpr std::string_view kAway = R"(, "unreachable": ["ldap/b"], "localFirst": true)";
constexpr std::string_view kRefuse = R"(, "whenAway": "refuse", "away": "b: no route")";

TEST(DirectoryAway, LocalAccountsAreTheAnswerWhereTheyComeFirst) {
  EXPECT_THAT(nodesOf(*worldWith("", ""), attribute::UniqueID, "1000"),
              ElementsAre("local", "ldap/a"));
  const auto world = worldWith(R"(, "localFirst": true)", "");
  EXPECT_THAT(nodesOf(*world, attribute::UniqueID, "1000"), ElementsAre("local"));
  EXPECT_THAT(nodesOf(*world, attribute::GUID, "6c6b2f1e-0000-4000-8000-000000001000"),
              ElementsAre("local"));
  EXPECT_THAT(nodesOf(*world, attribute::UniqueID, "2000"), ElementsAre("ldap/a"));
}

TEST(DirectoryAway, WhatCanNotBeToldWithoutItRaisesWithTheReason) {
  const auto world = worldWith(kAway, kRefuse);
  EXPECT_THAT([&] { nodesOf(*world, attribute::UniqueID, "2000"); },
              testing::ThrowsMessage<PlatformException>("b: no route"));
  EXPECT_THAT(nodesOf(*world, attribute::UniqueID, "1000"), ElementsAre("local"));
  EXPECT_THAT(nodesOf(*world, attribute::UniqueID, "2000", true), ElementsAre("ldap/a"));
  const auto search = world->directory().defaultSession()->nodeByType(NodeType::Search);
  EXPECT_NE(search->recordByTypeAndName(record::Users, "ann", {}), nullptr);
  EXPECT_THROW(search->recordByTypeAndName(record::Users, "dana", {}), PlatformException);
}

TEST(DirectoryAway, ThatIsIgnoredIsToldToTheLog) {
  const auto world = worldWith(kAway, R"(, "whenAway": "ignore", "away": "b: no route")");
  EXPECT_THAT(nodesOf(*world, attribute::UniqueID, "2000"), ElementsAre("ldap/a"));
  ASSERT_EQ(world->log().entries().size(), 1U);
  EXPECT_EQ(world->log().entries().front().text, "b: no route; its entries count as absent");
}

TEST(DirectoryAway, ThatNothingIsSaidOfCountsAsAbsent) {
  const auto world = worldWith(R"(, "unreachable": ["ldap/b"])", "");
  EXPECT_THAT(nodesOf(*world, attribute::UniqueID, "3000"), IsEmpty());
  EXPECT_THAT(world->log().entries(), IsEmpty());
}

TEST(DirectoryAway, ItsSetupIsKept) {
  const auto world = worldWith("", R"(, "server": "ldaps://b", "tls": "verified")");
  const auto setup = world->directory().setup("ldap/b").value();
  EXPECT_EQ(setup.server, "ldaps://b");
  EXPECT_EQ(setup.tls, "verified");
  EXPECT_FALSE(world->directory().setup("ldap/a"));
}

TEST(DirectoryAway, AKindThatCanNotBeReadRaisesWithTheReason) {
  const auto world = worldFromText(R"({"directory": {"localNode": "local", "nodes": [
    {"name": "local", "records": [{"type": "Groups",
      "attributes": {"RecordName": "staff", "GroupMembership": ["ann"]},
      "unreadable": {"GroupMembership": "no answer"}}]}]}})",
                                   "w.json");
  const auto group = world->directory()
                         .defaultSession()
                         ->nodeByType(NodeType::Local)
                         ->recordByTypeAndName(record::Groups, "staff", {});
  EXPECT_EQ(group->valuesForAttribute(attribute::RecordName), Strings{"staff"});
  EXPECT_THAT([&] { group->valuesForAttribute(attribute::GroupMembership); },
              testing::ThrowsMessage<PlatformException>("no answer"));
  EXPECT_THROW(group->recordDetails({}), PlatformException);
}

TEST(DirectoryAway, OfAnAccessListNotAllIsTold) {
  const auto world = worldFromText(R"({"membership": {"gatehall": {
    "members": ["6C6B2F1E-0000-4000-8000-000000001000"], "missing": "b: no route"}}})",
                                   "w.json");
  auto& membership = world->membership();
  Identifier identifier{};
  bool isMember = false;
  membership.guidToIdentifier("6C6B2F1E-0000-4000-8000-000000001000", identifier);
  EXPECT_EQ(membership.checkServiceMembership(identifier, "gatehall", isMember), 0);
  EXPECT_TRUE(isMember);
  membership.guidToIdentifier("6C6B2F1E-0000-4000-8000-000000002000", identifier);
  EXPECT_EQ(membership.checkServiceMembership(identifier, "gatehall", isMember), 3);
  EXPECT_FALSE(isMember);
  EXPECT_EQ(world->log().entries().front().text,
            "the access list of gatehall for 6C6B2F1E-0000-4000-8000-000000002000: b: no route");
}

TEST(DirectoryAway, BytesThatAreNoTextAreAnAttributesValueToo) {
  const auto world = worldFromText(R"({"directory": {"localNode": "local", "nodes": [
    {"name": "local", "records": [{"type": "Users",
      "attributes": {"RecordName": "ann", "FullName": {"$data": "QW7p"}}}]}]}})",
                                   "w.json");
  const auto user = world->directory()
                        .defaultSession()
                        ->nodeByType(NodeType::Local)
                        ->recordByTypeAndName(record::Users, "ann", {});
  EXPECT_EQ(user->valuesForAttribute(attribute::FullName), Strings{"An\xE9"});
}

TEST(DirectoryAway, NamesAreInTheOrderOfTheWorldsLocale) {
  const auto orderIn = [](const char* locale) {
    const auto world = worldFromText(std::string(R"({"locale": ")").append(locale) + "\"}", "w");
    return world->collation().compare("\xC3\xA4rlig", "zorn") < 0;
  };
  EXPECT_TRUE(orderIn("de_DE.UTF-8"));
  EXPECT_FALSE(orderIn("sv_SE.UTF-8"));
}

}  // namespace
}  // namespace gatehall
