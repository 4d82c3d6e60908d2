#include <algorithm>
#include <chrono>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "following/ListCopy.h"
#include "tests/following/Sent.h"

namespace gatehall {
namespace {

using testing::ElementsAre;

Strings namesOf(const ListedUsers& users) {
  Strings names;
  for (const auto& user : users) names.push_back(user->shortName.value_or(""));
  return names;
}

ListedUsers usersNamed(const Strings& names) {
  ListedUsers users;
  for (const auto& name : names) users.push_back(userNamed(name));
  return users;
}

ListCopy copyOf(const ListedUsers& users, int serial = 5) {
  ListCopy copy;
  EXPECT_EQ(copy.add(page(serial, users.size(), users)), ListCopy::Page::Last);
  return copy;
}

TEST(ListCopy, IsPutTogetherOfPages) {
  ListCopy copy;
  EXPECT_EQ(copy.add(page(5, 3, usersNamed({"ann", "bob"}))), ListCopy::Page::More);
  EXPECT_EQ(copy.add(page(5, 3, usersNamed({"carol"}))), ListCopy::Page::Last);
  EXPECT_THAT(namesOf(copy.users()), ElementsAre("ann", "bob", "carol"));
  EXPECT_EQ(copy.serial(), 5U);
}

TEST(ListCopy, EndsWithAnEmptyPage) {
  ListCopy copy;
  EXPECT_EQ(copy.add(page(5, 3, usersNamed({"ann"}))), ListCopy::Page::More);
  EXPECT_EQ(copy.add(page(5, 3, {})), ListCopy::Page::Last);
  EXPECT_EQ(ListCopy().add(page(5, 0, {})), ListCopy::Page::Last);
}

TEST(ListCopy, TakesNoPageOfAnotherState) {
  ListCopy copy;
  EXPECT_EQ(copy.add(page(5, 2, usersNamed({"ann"}))), ListCopy::Page::More);
  EXPECT_EQ(copy.add(page(6, 2, usersNamed({"bob"}))), ListCopy::Page::OfOtherState);
}

TEST(ListCopy, KeepsAllThatIsSaidOfAUser) {
  ListedUser erin{
      .shortName = "erin",
      .longName = "Erin Ek",
      .guid = "C0FFEE00-0000-4000-8000-000000001003",
      .node = "ldap/office",
      .picture = "/erin.png",
      .uid = 4'294'967'295,
      .local = true,
      .current = true,
      .suspended = true,
      .mobile = true,
      .kinwatchAllowsLogin = false,
      .kinwatchNextCurfewTime = Moment(std::chrono::microseconds(1'700'000'000'000'001))};
  EXPECT_EQ(*copyOf({std::make_shared<ListedUser>(erin)}).users().front(), erin);
  EXPECT_EQ(*copyOf({std::make_shared<ListedUser>()}).users().front(), ListedUser());
}

TEST(ListCopy, WhatIsNoPageIsUnreadable) {
  for (const Array& wrong :
       {Array{}, Array{5, 1}, Array{-1, 0, Array{}}, Array{"5", 0, Array{}}, Array{5, 0, "x"},
        Array{5, 1'000'001, Array{}}, Array{5, 1, Array{sentUser({}), sentUser({})}},
        Array{5, 1, Array{"ann"}}, Array{5, 1, Array{Dictionary{}}},
        Array{5, 1, Array{Dictionary{{"uid", "1000"}}}},
        Array{5, 1, Array{Dictionary{{"uid", -1}}}},
        Array{5, 1, Array{Dictionary{{"uid", std::int64_t{4'294'967'296}}}}}}) {
    EXPECT_EQ(ListCopy().add(wrong), ListCopy::Page::Unreadable) << Value(wrong).description();
  }
}

/// Any list of some of ten users, who may be different each time.
ListedUsers anyList(std::mt19937& random) {
  Strings names = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"};
  std::ranges::shuffle(names, random);
  names.resize(random() % (names.size() + 1));
  ListedUsers users;
  for (const auto& name : names) {
    auto user = *userNamed(name);
    if (random() % 3 == 0) user.longName = name + std::to_string(random() % 2);
    users.push_back(std::make_shared<ListedUser>(user));
  }
  return users;
}

bool isSame(const ListedUsers& one, const ListedUsers& other) {
  return std::ranges::equal(one, other, [](const auto& a, const auto& b) { return *a == *b; });
}

TEST(ListCopy, BecomesByTheChangesWhatTheListBecame) {
  std::mt19937 random(7);
  for (int round = 0; round < 5000; ++round) {
    const auto before = anyList(random);
    const auto after = anyList(random);
    const auto changes = changesBetween(before, after);
    auto copy = copyOf(before);
    const auto applied = copy.apply(6, sent(changes));
    ASSERT_TRUE(applied.has_value()) << round;
    ASSERT_TRUE(isSame(copy.users(), after)) << round;
    ASSERT_EQ(copy.serial(), 6U);
    ASSERT_EQ(applied->size(), changes.size());
    for (std::size_t index = 0; index < changes.size(); ++index) {
      const auto& was = changes[index].was;
      const auto& told = (*applied)[index].was;
      ASSERT_EQ(told != nullptr, was != nullptr) << round;
      ASSERT_TRUE(!was || *told == *was) << round;
      ASSERT_EQ((*applied)[index].kind, changes[index].kind);
      ASSERT_EQ((*applied)[index].formerPosition, changes[index].formerPosition);
    }
  }
}

TEST(ListCopy, KnowsUsersByTheirGUIDAndElseByIdAndName) {
  auto renumbered = *userNamed("ann");
  renumbered.uid += 1;
  auto copy = copyOf(usersNamed({"ann", "bob"}));
  EXPECT_TRUE(copy.apply(6, Array{Array{"changed", 1, sentUser(renumbered), Dictionary()}}));
  EXPECT_EQ(copy.users().front()->uid, renumbered.uid);

  auto other = renumbered;
  other.guid = "another";
  EXPECT_FALSE(copy.apply(7, Array{Array{"changed", 1, sentUser(other), Dictionary()}}));
  other.guid.reset();
  EXPECT_FALSE(copy.apply(7, Array{Array{"removed", 1, sentUser(other), Dictionary()}}));
}

TEST(ListCopy, StaysAsItIsWhenTheChangesAreNotForIt) {
  const auto bob = sentUser(*userNamed("bob"));
  const auto zoe = sentUser(*userNamed("zoe"));
  const auto change = [](const char* kind, int position, const Value& user,
                         const Dictionary& was = {}) {
    return Value(Array{kind, position, user, was});
  };
  const std::vector<Array> wrong = {
      {change("removed", 3, bob)},                             // beyond the list
      {change("removed", 1, bob)},                             // another user's place
      {change("removed", 2, bob), change("removed", 2, bob)},  // twice
      {change("removed", 0, bob)},                             // no position
      {change("added", 4, zoe)},                               // leaves a gap
      {change("added", 2, zoe), change("added", 1, zoe)},      // out of order
      {change("changed", 3, bob)},                             // beyond the list
      {change("changed", 1, bob)},                             // another user's place
      {change("moved", 1, bob, {{"position", 1}})},            // another user's place
      {change("moved", 1, bob, {{"position", 9}})},            // beyond the list
      {change("added", 1, zoe, {{"position", 1}})},            // was nowhere
      {change("changed", 2, bob, {{"position", "1"}})},        // no number
      {change("renamed", 1, bob)},                             // no kind
      {change("added", 1, "zoe")},                             // no user
      {Array{"added", 1, zoe}},                                // a part is missing
      {"added"},
  };
  for (const auto& each : wrong) {
    auto copy = copyOf(usersNamed({"ann", "bob"}));
    EXPECT_FALSE(copy.apply(6, each).has_value()) << Value(each).description();
    EXPECT_THAT(namesOf(copy.users()), ElementsAre("ann", "bob"));
    EXPECT_EQ(copy.serial(), 5U);
  }
  EXPECT_FALSE(copyOf({}).apply(6, "none").has_value());
}

}  // namespace
}  // namespace gatehall
