#include <gtest/gtest.h>
#include <limits>

#include "gatehall/platform/AttributeKinds.h"
#include "listing/ListedUser.h"
#include "tests/Machine.h"

namespace gatehall {
namespace {

class ListedUserTest : public Machine {
 protected:
  static std::shared_ptr<CachedUserList> people(const Strings& names) {
    auto list = CachedUserList::cachedUserList();
    for (const auto& name : names) list->addObject(userNamed(name));
    return list;
  }

  std::shared_ptr<WorldRecord> add(const std::string& name, const std::string& userID) {
    return addUser({{std::string(attribute::RecordName), {name}},
                    {std::string(attribute::UniqueID), {userID}},
                    {std::string(attribute::UserShell), {"/bin/bash"}},
                    {std::string(attribute::Password), {"********"}},
                    {std::string(attribute::FullName), {name + " Park"}},
                    {std::string(attribute::Picture), {"/faces/" + name}}});
  }
};

TEST_F(ListedUserTest, SaysWhatTheAccountAndTheMarksSay) {
  add("ann", "1000");
  const auto user = userNamed("ann");
  user->setSuspended(1);
  user->setCurrentUser(1);
  const auto entry = listed(*user);
  EXPECT_EQ(entry.shortName, "ann");
  EXPECT_EQ(entry.longName, "ann Park");
  EXPECT_EQ(entry.guid, std::nullopt);
  EXPECT_EQ(entry.node, "local");
  EXPECT_EQ(entry.picture, "/faces/ann");
  EXPECT_EQ(entry.uid, 1000U);
  EXPECT_TRUE(entry.local);
  EXPECT_TRUE(entry.current);
  EXPECT_TRUE(entry.suspended);
  EXPECT_FALSE(entry.mobile);
  EXPECT_EQ(entry.kinwatchAllowsLogin, true);
  EXPECT_EQ(entry.kinwatchNextCurfewTime, std::nullopt);
}

TEST_F(ListedUserTest, SharesWhoeverIsAsBefore) {
  for (const auto* name : {"ann", "bob", "carol", "dana"}) {
    add(name, std::to_string(1000 + (name[0] - 'a')));
  }
  const auto before = listed(people({"ann", "bob", "carol", "dana"}));
  const auto changed = people({"bob", "dana", "ann", "carol"});
  changed->objectAtIndex(1)->setSuspended(1);
  const auto after = listed(changed, before);
  ASSERT_EQ(after.size(), 4U);
  EXPECT_EQ(after[0], before[1]);
  EXPECT_NE(after[1], before[3]);
  EXPECT_TRUE(after[1]->suspended);
  EXPECT_EQ(after[2], before[0]);
  EXPECT_EQ(after[3], before[2]);
}

TEST_F(ListedUserTest, IsNobodyWithoutAList) { EXPECT_TRUE(listed(nullptr).empty()); }

TEST(MomentOf, IsTheMicrosecondThatTheDateIsIn) {
  const auto moment = [](double seconds) {
    return momentOf(Date(std::chrono::duration<double>(seconds))).time_since_epoch().count();
  };
  EXPECT_EQ(moment(1.0000019), 1000001);
  EXPECT_EQ(moment(-0.0000001), -1);
  constexpr auto infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(moment(infinity), 253402300799999999);
  EXPECT_EQ(moment(-infinity), -62135596800000000);
  EXPECT_EQ(moment(std::numeric_limits<double>::quiet_NaN()), -62135596800000000);
}

}  // namespace
}  // namespace gatehall
