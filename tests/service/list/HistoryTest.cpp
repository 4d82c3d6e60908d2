#include <algorithm>
#include <gtest/gtest.h>
#include <random>

#include "service/list/History.h"
#include "tests/service/RunningFront.h"

namespace gatehall {
namespace {

using service::History;

/// A history and the lists that went into it.
class Told {
 public:
  explicit Told(std::uint64_t serial = 100) : mSerial(serial) {}

  void add(const std::vector<ListedUser>& users) {
    auto list = std::make_shared<ListedUsers>();
    for (const auto& each : users) list->push_back(std::make_shared<const ListedUser>(each));
    std::vector<ListChange> changes;
    if (!lists.empty()) changes = changesBetween(*lists.back(), *list);
    lists.push_back(list);
    history.add({mSerial++, list, std::move(changes)});
  }

  History history;
  std::vector<std::shared_ptr<const ListedUsers>> lists;

 private:
  std::uint64_t mSerial;
};

std::string textOf(const std::vector<ListChange>& changes) {
  std::string text;
  for (const auto& change : changes) {
    text += std::to_string(static_cast<int>(change.kind)) + *change.user->shortName +
            std::to_string(change.position);
    if (change.was) text += " was " + *change.was->longName;
    if (change.formerPosition) text += " from " + std::to_string(*change.formerPosition);
    text += ", ";
  }
  return text;
}

TEST(History, TellsWhatChangedSinceEachState) {
  std::mt19937 random(7);
  Told told;
  std::vector<ListedUser> users = people("abcdefgh");
  int next = 0;
  for (std::size_t state = 0; state < 300; ++state) {
    for (auto count = random() % 4; count > 0; --count) {
      const auto any = [&] { return users.begin() + static_cast<int>(random() % users.size()); };
      const auto what = random() % 4;
      if (what == 0 || users.size() < 3) {
        users.insert(any(), person("new" + std::to_string(next++)));
      } else if (what == 1) {
        users.erase(any());
      } else if (what == 2) {
        any()->longName = "Name " + std::to_string(next++);
      } else {
        std::swap(*any(), *any());
      }
    }
    told.add(users);
    for (std::size_t back = 0; back <= std::min(state, History::kMostStates); ++back) {
      const auto changes = told.history.since(told.history.serial() - back);
      ASSERT_NE(changes, nullptr);
      const auto& before = *told.lists[told.lists.size() - 1 - back];
      ASSERT_EQ(textOf(*changes), textOf(changesBetween(before, *told.lists.back())));
    }
  }
}

TEST(History, HasNoChangesSinceThePresentState) {
  Told told;
  told.add(people("ab"));
  const auto changes = told.history.since(told.history.serial());
  ASSERT_NE(changes, nullptr);
  EXPECT_TRUE(changes->empty());
}

TEST(History, IsBoundedByStates) {
  Told told;
  auto users = people("a");
  for (std::size_t state = 0; state <= History::kMostStates + 1; ++state) {
    users[0].longName = std::to_string(state);
    told.add(users);
  }
  const auto serial = told.history.serial();
  EXPECT_NE(told.history.since(serial - History::kMostStates), nullptr);
  EXPECT_EQ(told.history.since(serial - History::kMostStates - 1), nullptr);
  EXPECT_EQ(told.history.since(serial + 1), nullptr);
}

TEST(History, IsBoundedByChanges) {
  Told told;
  std::vector<ListedUser> users;
  told.add(users);
  const auto add = [&](std::size_t count) {
    for (; count > 0; --count) users.push_back(person("user" + std::to_string(users.size())));
    told.add(users);
  };
  add(600);
  add(400);
  EXPECT_NE(told.history.since(100), nullptr);
  add(1);
  EXPECT_EQ(told.history.since(100), nullptr);
  EXPECT_NE(told.history.since(101), nullptr);
  add(1001);
  EXPECT_EQ(told.history.since(102), nullptr);
  EXPECT_NE(told.history.since(104), nullptr);
}

TEST(History, BeginsAnewWithAnotherPublisher) {
  Told told;
  told.add(people("a"));
  told.add(people("ab"));
  Told other(5000);
  other.add(people("x"));
  told.history.add({5000, other.lists[0], {}});
  EXPECT_EQ(told.history.since(101), nullptr);
  EXPECT_EQ(told.history.since(4999), nullptr);
  EXPECT_EQ(told.history.serial(), 5000U);
}

}  // namespace
}  // namespace gatehall
