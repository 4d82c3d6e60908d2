// expandGUIDList over 2,000 groups, nested ten deep, with 200,000 memberships, against asking the
// directory for each member by itself.

#include <cstdlib>

#include "bench/Figures.h"
#include "bench/LargeWorld.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/users/GroupMembership.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

constexpr unsigned kUsers = 70000;
constexpr unsigned kGroups = 2000;
constexpr unsigned kDepth = 10;
constexpr unsigned kMembersEach = 100;

std::string memberName(unsigned group, unsigned member) {
  return "user" + std::to_string((group * kMembersEach + member) * 31 % kUsers);
}

/// Chains of ten: each group but the last of its chain nests the next one.
RecordDescription group(unsigned number) {
  RecordDescription description{
      .type = std::string(record::Groups),
      .attributes = {{std::string(attribute::RecordName), {"group" + std::to_string(number)}},
                     {std::string(attribute::GUID), {groupGUID(number)}}},
      .password = {},
      .policy = {}};
  Strings members;
  for (unsigned member = 0; member < kMembersEach; ++member) {
    members.push_back(memberName(number, member));
  }
  description.attributes.emplace_back(attribute::GroupMembership, std::move(members));
  if (number % kDepth != kDepth - 1) {
    description.attributes.emplace_back(attribute::NestedGroups, Strings{groupGUID(number + 1)});
  }
  return description;
}

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

int main() {
  const auto world = installWorld(kUsers);
  const auto node = world->directory().node("local");
  Strings chains;
  for (unsigned number = 0; number < kGroups; ++number) {
    node->addRecord(group(number));
    if (number % kDepth == 0) chains.push_back(groupGUID(number));
  }

  const auto expansion = [&] {
    return secondsPerCall(1, [&](unsigned) {
      require(expandGUIDList(chains).value().size() == std::size_t{kGroups} * kMembersEach);
    });
  };
  const auto oneByOne = [] {
    return secondsPerCall(kGroups,
                          [](unsigned number) {
                            for (unsigned member = 0; member < kMembersEach; ++member) {
                              const auto found = queryResults(
                                  searchNode(), equalTo({record::Users}, attribute::RecordName,
                                                        {memberName(number, member)},
                                                        {std::string(attribute::GUID)}));
                              require(found && getGUID(*found->front()).has_value());
                            }
                          }) *
           kGroups;
  };
  const auto seconds = inTurns(5, expansion, oneByOne);
  report({.name = "group-expansion-seconds", .unit = "s", .ours = seconds.ours, .aim = 1.0});
  report({.name = "group-expansion",
          .unit = "s",
          .ours = seconds.ours,
          .theirs = seconds.theirs,
          .peer = "a query a member",
          .aim = 1.0});
}
