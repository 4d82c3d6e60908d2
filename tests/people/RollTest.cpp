#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <tuple>

#include "people/Roll.h"

namespace gatehall {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Splice = std::tuple<std::size_t, std::size_t, std::size_t>;

std::shared_ptr<const ListedUser> user(const std::string& name, bool isLoggedIn = false) {
  auto user = std::make_shared<ListedUser>();
  user->shortName = name;
  user->guid = "guid of " + name;
  user->suspended = isLoggedIn;
  return user;
}

ListedUsers usersNamed(const Strings& names) {
  ListedUsers users;
  for (const auto& name : names) users.push_back(user(name));
  return users;
}

/// A roll, and what it told: applied to a copy, which has to be what the roll is after each.
class RollTest : public ::testing::Test {
 protected:
  RollTest() { follow(mRoll); }

  void follow(Roll& roll) {
    roll.follow({.spliced =
                     [this, &roll](std::size_t position, std::size_t removed, std::size_t added) {
                       mSplices.emplace_back(position, removed, added);
                       ASSERT_LE(position + removed, mCopy.size());
                       ASSERT_EQ(mCopy.size() - removed + added, roll.size());
                       const auto start = mCopy.begin() + static_cast<std::ptrdiff_t>(position);
                       mCopy.erase(start, start + static_cast<std::ptrdiff_t>(removed));
                       for (std::size_t row = position; row < position + added; ++row) {
                         mCopy.insert(mCopy.begin() + static_cast<std::ptrdiff_t>(row),
                                      roll.keyAt(row));
                       }
                       ASSERT_EQ(mCopy, keys(roll));
                     },
                 .updated = [this](std::size_t row) { mUpdated.push_back(row); }});
  }

  static std::vector<std::uint64_t> keys(const Roll& roll) {
    std::vector<std::uint64_t> keys;
    for (std::size_t row = 0; row < roll.size(); ++row) keys.push_back(roll.keyAt(row));
    return keys;
  }

  static Strings names(const Roll& roll) {
    Strings names;
    for (std::size_t row = 0; row < roll.size(); ++row) {
      names.push_back(*roll.at(row).user->shortName);
    }
    return names;
  }
  Strings names() const { return names(mRoll); }

  void set(const Strings& names) {
    mUsers = usersNamed(names);
    mRoll.setUsers(mUsers);
    mSplices.clear();
  }

  void become(ListedUsers users) {
    mRoll.change(changesBetween(mUsers, users), users);
    mUsers = std::move(users);
  }

  Roll mRoll;
  ListedUsers mUsers;
  std::vector<std::uint64_t> mCopy;
  std::vector<Splice> mSplices;
  std::vector<std::size_t> mUpdated;
};

constexpr auto kRefused = Admission::State::MayNotLogIn;

TEST_F(RollTest, HasNoListUntilItIsSet) {
  EXPECT_FALSE(mRoll.hasList());
  mRoll.setUsers({});
  EXPECT_TRUE(mRoll.hasList());
  EXPECT_EQ(mRoll.size(), 0U);
}

TEST_F(RollTest, HasTheUsersInTheListsOrder) {
  mRoll.setUsers(usersNamed({"carol", "ann", "bob"}));
  EXPECT_THAT(names(), ElementsAre("carol", "ann", "bob"));
  EXPECT_THAT(mSplices, ElementsAre(Splice{0, 0, 3}));
}

TEST_F(RollTest, TellsExactlyWhatChanged) {
  set({"ann", "bob", "carol", "dana", "erin"});
  const auto bob = mRoll.keyAt(1);
  auto users = mUsers;
  users.erase(users.begin());
  users.push_back(user("gus"));
  become(users);
  EXPECT_THAT(names(), ElementsAre("bob", "carol", "dana", "erin", "gus"));
  EXPECT_THAT(mSplices, ElementsAre(Splice{0, 1, 0}, Splice{4, 0, 1}));
  EXPECT_EQ(mRoll.rowOf(bob), 0U);
  EXPECT_THAT(mUpdated, IsEmpty());
}

TEST_F(RollTest, TellsOfWhoStaysThatTheyAreOthers) {
  set({"ann", "bob", "carol"});
  auto users = mUsers;
  users[1] = user("bob", true);
  become(users);
  EXPECT_THAT(mSplices, IsEmpty());
  EXPECT_THAT(mUpdated, ElementsAre(1));
  EXPECT_TRUE(mRoll.at(1).user->suspended);
}

TEST_F(RollTest, TellsNothingOfAListThatWasReadAnewAndSaysTheSame) {
  set({"ann", "bob", "carol"});
  const auto before = keys(mRoll);
  mRoll.setUsers(usersNamed({"ann", "bob", "carol"}));
  auto users = usersNamed({"ann", "bob", "carol"});
  users[2] = user("carol", true);
  become(users);
  EXPECT_THAT(mSplices, IsEmpty());
  EXPECT_THAT(mUpdated, ElementsAre(2));
  EXPECT_EQ(keys(mRoll), before);
}

TEST_F(RollTest, KnowsEverybodyAgainWhenTheListReplacesIt) {
  set({"ann", "bob", "carol"});
  const auto bob = mRoll.keyAt(1);
  mRoll.admit({{bob, {kRefused, "No."}}});
  mUpdated.clear();
  // The changes don't fit, so that the list counts alone.
  ListedUsers users{user("gus"), user("bob", true), user("bob")};
  mRoll.change({{ListChange::Kind::Removed, 99, user("gus"), nullptr, {}}}, users);
  EXPECT_THAT(names(), ElementsAre("gus", "bob", "bob"));
  EXPECT_EQ(mRoll.keyAt(1), bob);
  EXPECT_NE(mRoll.keyAt(2), bob);
  EXPECT_EQ(mRoll.at(1).admission.state, kRefused);
  EXPECT_TRUE(mRoll.at(1).user->suspended);
}

TEST_F(RollTest, KeepsTheKeyOfWhoMoves) {
  set({"ann", "bob", "carol", "dana"});
  const auto ann = mRoll.keyAt(0);
  auto users = mUsers;
  std::rotate(users.begin(), users.begin() + 1, users.end());
  become(users);
  EXPECT_THAT(names(), ElementsAre("bob", "carol", "dana", "ann"));
  EXPECT_THAT(mSplices, ElementsAre(Splice{0, 1, 0}, Splice{3, 0, 1}));
  EXPECT_EQ(mRoll.rowOf(ann), 3U);
  EXPECT_THAT(mUpdated, IsEmpty());
}

TEST_F(RollTest, HasOnlyThoseWhomTheSearchFinds) {
  set({"ann", "bob", "anna", "carol", "joann"});
  mRoll.search("ANN");
  EXPECT_THAT(names(), ElementsAre("ann", "anna", "joann"));
  EXPECT_EQ(mRoll.total(), 5U);
  EXPECT_EQ(mRoll.searched(), "ANN");
  mRoll.search("anna");
  EXPECT_THAT(names(), ElementsAre("anna"));
  mRoll.search("nobody");
  EXPECT_THAT(names(), IsEmpty());
  mRoll.search("");
  EXPECT_THAT(names(), ElementsAre("ann", "bob", "anna", "carol", "joann"));
}

TEST_F(RollTest, TellsNothingWhenTheSearchSaysTheSame) {
  set({"ann", "bob"});
  mRoll.search("ann");
  mSplices.clear();
  mRoll.search(" Ann ");
  EXPECT_THAT(mSplices, IsEmpty());
}

TEST_F(RollTest, IsReadyToBeSearchedPieceByPiece) {
  set({"ann", "bob", "carol"});
  EXPECT_TRUE(mRoll.prepareSearch(2));
  EXPECT_FALSE(mRoll.prepareSearch(2));
  EXPECT_FALSE(mRoll.prepareSearch(2));
  mRoll.search("carol");
  EXPECT_THAT(names(), ElementsAre("carol"));
}

TEST_F(RollTest, SearchesWhoeverComesMeanwhile) {
  set({"ann", "bob"});
  mRoll.search("an");
  mSplices.clear();
  auto users = mUsers;
  users.insert(users.begin(), user("gus"));
  users.push_back(user("dana"));
  become(users);
  EXPECT_THAT(names(), ElementsAre("ann", "dana"));
  EXPECT_THAT(mSplices, ElementsAre(Splice{1, 0, 1}));
  // By the name that somebody has now.
  auto renamed = std::make_shared<ListedUser>(*mUsers[2]);
  renamed->longName = "Jan Ray";
  users = mUsers;
  users[2] = renamed;
  become(users);
  EXPECT_THAT(names(), ElementsAre("ann", "bob", "dana"));
}

TEST_F(RollTest, HasWhatIsKnownOfALogin) {
  set({"ann", "bob"});
  const Admission refused{kRefused, "Your account is excluded."};
  mRoll.admit({{mRoll.keyAt(1), refused}});
  EXPECT_THAT(mUpdated, ElementsAre(1));
  EXPECT_EQ(mRoll.at(1).admission, refused);
  mRoll.admit({{mRoll.keyAt(1), refused}});
  EXPECT_EQ(mUpdated.size(), 1U);
  EXPECT_THAT(mSplices, IsEmpty());
  mRoll.admit({{4711, refused}});
  EXPECT_EQ(mUpdated.size(), 1U);
}

TEST_F(RollTest, HidesThoseWhoMayNotLogInWhereThatIsWanted) {
  Roll roll(Roll::Refused::Hidden);
  follow(roll);
  roll.setUsers(usersNamed({"ann", "bob", "carol"}));
  const auto ann = roll.keys()[0];
  const auto bob = roll.keys()[1];
  roll.awaitNobody();
  mSplices.clear();
  roll.admit({{bob, {kRefused, "No."}}});
  EXPECT_THAT(names(roll), ElementsAre("ann", "carol"));
  roll.admit({{ann, {kRefused, "No."}}});
  EXPECT_THAT(names(roll), ElementsAre("carol"));
  roll.admit({{bob, {Admission::State::MayLogIn, ""}}});
  EXPECT_THAT(names(roll), ElementsAre("bob", "carol"));
  EXPECT_THAT(mSplices, ElementsAre(Splice{1, 1, 0}, Splice{0, 1, 0}, Splice{0, 0, 1}));
  roll.admit({{bob, {Admission::State::Unknown, "It can't be told."}}});
  EXPECT_THAT(names(roll), ElementsAre("bob", "carol"));
  EXPECT_EQ(roll.total(), 3U);
  EXPECT_EQ(roll.keys().size(), 3U);
  EXPECT_EQ(roll.find(ann)->user->shortName, "ann");
}

TEST_F(RollTest, HasNoRowForAnybodyUntilItIsKnownThatTheyMayLogIn) {
  Roll roll(Roll::Refused::Hidden);
  follow(roll);
  roll.setUsers(usersNamed({"ann", "bob", "carol"}));
  EXPECT_THAT(names(roll), IsEmpty());
  EXPECT_TRUE(roll.awaitsAnswers());
  mSplices.clear();
  const auto keys = roll.keys();
  roll.admit({{keys[0], {kRefused, "No."}}, {keys[2], {}}});
  EXPECT_THAT(names(roll), ElementsAre("carol"));
  EXPECT_TRUE(roll.awaitsAnswers());
  roll.admit({{keys[1], {kRefused, "No."}}});
  EXPECT_FALSE(roll.awaitsAnswers());
  // The last one is told of without a row, too.
  EXPECT_THAT(mSplices, ElementsAre(Splice{0, 0, 1}, Splice{0, 0, 0}));
  auto users = usersNamed({"ann", "carol", "dana"});
  roll.setUsers(users);
  EXPECT_THAT(names(roll), ElementsAre("carol"));
  EXPECT_TRUE(roll.awaitsAnswers());
  users.pop_back();
  roll.setUsers(users);
  EXPECT_FALSE(roll.awaitsAnswers());
}

TEST_F(RollTest, HasARowForWhoeverNothingIsKnownAbout) {
  Roll roll(Roll::Refused::Hidden);
  follow(roll);
  roll.setUsers(usersNamed({"ann", "bob"}));
  roll.awaitNobody();
  EXPECT_THAT(names(roll), ElementsAre("ann", "bob"));
  EXPECT_FALSE(roll.awaitsAnswers());
}

TEST_F(RollTest, ForgetsTheLoginOfWhoWentAndCame) {
  set({"ann", "bob"});
  const auto bob = mRoll.keyAt(1);
  mRoll.admit({{bob, {kRefused, "No."}}});
  auto users = mUsers;
  users.pop_back();
  become(users);
  EXPECT_FALSE(mRoll.find(bob));
  users.push_back(user("bob"));
  become(users);
  EXPECT_EQ(mRoll.at(1).admission, Admission());
}

TEST_F(RollTest, TakesTheListWhenChangesAreNotForIt) {
  set({"ann", "bob"});
  const auto users = usersNamed({"carol"});
  mRoll.change({{ListChange::Kind::Removed, 99, user("gus"), nullptr, {}}}, users);
  EXPECT_THAT(names(), ElementsAre("carol"));
  mRoll.change({}, usersNamed({"dana", "erin"}));
  EXPECT_THAT(names(), ElementsAre("dana", "erin"));
}

TEST_F(RollTest, IsTheListAfterAnyChanges) {
  std::mt19937 random(4711);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  unsigned next = 0;
  set({});
  for (int turn = 0; turn < 400; ++turn) {
    auto users = mUsers;
    for (auto steps = below(turn % 50 == 0 ? 100 : 6); steps > 0; --steps) {
      const auto at = static_cast<std::ptrdiff_t>(below(users.size() + 1));
      const bool isIn = at < static_cast<std::ptrdiff_t>(users.size());
      switch (below(4)) {
        case 0:
          users.insert(users.begin() + at, user("u" + std::to_string(next++)));
          break;
        case 1:
          if (isIn) users.erase(users.begin() + at);
          break;
        case 2:
          if (isIn) std::rotate(users.begin(), users.begin() + at, users.end());
          break;
        default:
          if (isIn)
            users[static_cast<std::size_t>(at)] =
                user(*users[static_cast<std::size_t>(at)]->shortName, turn % 2 == 0);
      }
    }
    if (turn % 7 == 0) mRoll.search(turn % 14 == 0 ? "" : std::to_string(below(10)));
    become(users);
    ASSERT_EQ(mCopy, keys(mRoll));
    Strings expected;
    for (const auto& each : mUsers) {
      if (each->shortName->find(mRoll.searched()) != std::string::npos) {
        expected.push_back(*each->shortName);
      }
    }
    ASSERT_EQ(names(), expected);
    for (std::size_t row = 0; row < mRoll.size() && mRoll.searched().empty(); ++row) {
      ASSERT_EQ(mRoll.at(row).user, mUsers[row]);
    }
  }
}

}  // namespace
}  // namespace gatehall
