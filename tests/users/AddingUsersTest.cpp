#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/Machine.h"

namespace gatehall {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Who is added to a list, and who goes. Users are called by their long names.
class AddingUsers : public Machine {
 protected:
  struct Keys {
    std::string guid;
    Strings names;
    std::string uid;
  };

  std::shared_ptr<CachedUser> local(const std::string& longName, const Keys& keys) {
    return userOn(cast::kLocalNode, longName, keys);
  }

  std::shared_ptr<CachedUser> network(const std::string& longName, const Keys& keys) {
    return userOn(cast::kNetworkNode, longName, keys);
  }

  Strings list() const {
    Strings names;
    for (const auto& user : *mList) names.push_back(user->longName().value_or("(none)"));
    return names;
  }

  std::string byGUID(std::string_view guid) const { return nameOf(mList->findUserByGUID(guid)); }

  std::string byShortName(std::string_view name) const {
    return nameOf(mList->findUserByShortName(name));
  }

  static std::string nameOf(const std::shared_ptr<CachedUser>& user) {
    return user ? user->longName().value_or("(none)") : "nobody";
  }

  const std::shared_ptr<CachedUserList> mList = CachedUserList::cachedUserList();

 private:
  std::shared_ptr<CachedUser> userOn(std::string_view node, const std::string& longName,
                                     const Keys& keys) {
    const auto marker = "key " + std::to_string(++mUsers);
    Attributes attributes = {{"FullName", {longName}}, {"Picture", {marker}}};
    if (!keys.guid.empty()) attributes.push_back({"GUID", {keys.guid}});
    attributes.push_back({"RecordName", keys.names});
    attributes.push_back({"UniqueID", {keys.uid}});
    addUser(std::move(attributes), node);
    const auto query = nodeWithName(node)->query(
        {{std::string(record::Users)}, "Picture", MatchType::EqualTo, {marker}, {}});
    return CachedUser::cachedUserWithDirvoRecord(query->results(false)->front());
  }

  int mUsers = 0;
};

TEST_F(AddingUsers, AppendsInOrderAndIndexes) {
  mList->addObject(network("N", {"GN", {"n", "alias"}, "1"}));
  mList->addObject(local("L", {"GL", {"l"}, "2"}));
  EXPECT_THAT(list(), ElementsAre("N", "L"));
  EXPECT_EQ(byGUID("GN"), "N");
  EXPECT_EQ(byShortName("n"), "N");
  EXPECT_EQ(byShortName("alias"), "N");
  EXPECT_EQ(byGUID("GL"), "L");
  EXPECT_EQ(byGUID("gl"), "nobody");
}

TEST_F(AddingUsers, IgnoresNobody) {
  mList->addObject(nullptr);
  EXPECT_THAT(list(), IsEmpty());
}

TEST_F(AddingUsers, RefusesANetworkUserWhoSharesAKeyWithAnyEntry) {
  for (const bool presentIsLocal : {true, false}) {
    const auto fresh = CachedUserList::cachedUserList();
    const AddingUsers::Keys keys = {"G", {"name", "alias"}, "1"};
    fresh->addObject(presentIsLocal ? local("present", keys) : network("present", keys));
    fresh->addObject(network("by GUID", {"G", {"x"}, "2"}));
    fresh->addObject(network("by name", {"G2", {"name"}, "2"}));
    fresh->addObject(network("by alias", {"G2", {"alias"}, "2"}));
    fresh->addObject(network("by user id", {"G2", {"x"}, "1"}));
    ASSERT_EQ(fresh->count(), 1U);
    EXPECT_EQ(fresh->objectAtIndex(0)->longName(), "present");
  }
}

TEST_F(AddingUsers, LooksForAnEntryByTheNewUsersFirstNameOnly) {
  mList->addObject(network("first", {"G1", {"a", "shared"}, "1"}));
  mList->addObject(network("second", {"G2", {"b", "shared"}, "2"}));
  EXPECT_THAT(list(), ElementsAre("first", "second"));
  EXPECT_EQ(byShortName("shared"), "second") << "a later entry takes over the key";
}

TEST_F(AddingUsers, ReplacesTheNetworkUserThatALocalOneSharesAllKeysWith) {
  mList->addObject(network("N", {"G", {"name"}, "1"}));
  mList->addObject(local("L", {"G", {"name"}, "1"}));
  EXPECT_THAT(list(), ElementsAre("L"));
  EXPECT_EQ(byGUID("G"), "L");
  EXPECT_EQ(byShortName("name"), "L");
}

TEST_F(AddingUsers, ReplacesANetworkUserThatALocalOneSharesAnyOneKeyWith) {
  mList->addObject(network("by GUID", {"G1", {"a"}, "1"}));
  mList->addObject(network("by name", {"G2", {"b"}, "2"}));
  mList->addObject(network("by user id", {"G3", {"c"}, "3"}));
  mList->addObject(local("L1", {"G1", {"x"}, "11"}));
  EXPECT_THAT(list(), ElementsAre("by name", "by user id", "L1"));
  mList->addObject(local("L2", {"X2", {"b"}, "12"}));
  EXPECT_THAT(list(), ElementsAre("by user id", "L1", "L2"));
  mList->addObject(local("L3", {"X3", {"y"}, "3"}));
  EXPECT_THAT(list(), ElementsAre("L1", "L2", "L3"));
  EXPECT_EQ(byGUID("G2"), "nobody");
  EXPECT_EQ(byShortName("c"), "nobody");
}

TEST_F(AddingUsers, ReplacesAllNetworkUsersThatALocalOneSharesKeysWith) {
  mList->addObject(network("by GUID", {"G1", {"a"}, "1"}));
  mList->addObject(network("by name", {"G2", {"b"}, "2"}));
  mList->addObject(network("by user id", {"G3", {"c"}, "3"}));
  mList->addObject(local("L", {"G1", {"b"}, "3"}));
  EXPECT_THAT(list(), ElementsAre("L"));
}

TEST_F(AddingUsers, RefusesALocalUserWhoSharesKeysWithALocalEntryOnly) {
  mList->addObject(local("present", {"G", {"name"}, "1"}));
  mList->addObject(local("by GUID", {"G", {"x"}, "2"}));
  mList->addObject(local("by name", {"G2", {"name"}, "2"}));
  mList->addObject(local("by user id", {"G2", {"x"}, "1"}));
  EXPECT_THAT(list(), ElementsAre("present"));
}

TEST_F(AddingUsers, AddsALocalUserBesideALocalOneOfItsGUIDWhenItReplacesTheNetworkUserOfItsName) {
  mList->addObject(local("L1", {"G", {"one"}, "1"}));
  mList->addObject(network("N", {"GN", {"name"}, "2"}));
  mList->addObject(local("L2", {"G", {"name"}, "3"}));
  EXPECT_THAT(list(), ElementsAre("L1", "L2"));
  EXPECT_EQ(byGUID("G"), "L2");
  EXPECT_EQ(byShortName("one"), "L1");
  EXPECT_EQ(byShortName("name"), "L2");
}

TEST_F(AddingUsers, AddsALocalUserBesideALocalOneOfItsNameWhenItReplacesTheNetworkUserOfItsGUID) {
  mList->addObject(local("L1", {"G1", {"name"}, "1"}));
  mList->addObject(network("N", {"G", {"n"}, "2"}));
  mList->addObject(local("L2", {"G", {"name"}, "3"}));
  EXPECT_THAT(list(), ElementsAre("L1", "L2"));
  EXPECT_EQ(byShortName("name"), "L2");
}

TEST_F(AddingUsers, AddsALocalUserBesideALocalOneWhenItReplacesTheNetworkUserOfItsUserID) {
  mList->addObject(local("L1", {"G", {"name"}, "1"}));
  mList->addObject(network("N", {"GN", {"n"}, "2"}));
  mList->addObject(local("L2", {"G", {"name"}, "2"}));
  EXPECT_THAT(list(), ElementsAre("L1", "L2"));
}

TEST_F(AddingUsers, AddsALocalUserBesideALocalOneOfItsUserIDWhenItReplacesANetworkUser) {
  mList->addObject(local("L1", {"G1", {"one"}, "1"}));
  mList->addObject(network("N", {"G", {"n"}, "2"}));
  mList->addObject(local("L2", {"G", {"two"}, "1"}));
  EXPECT_THAT(list(), ElementsAre("L1", "L2"));
}

TEST_F(AddingUsers, RefusesTheSameUserTwice) {
  const auto user = local("L", {"G", {"name"}, "1"});
  mList->addObject(user);
  mList->addObject(user);
  EXPECT_THAT(list(), ElementsAre("L"));
}

TEST_F(AddingUsers, ComparesUserIDsAsTheirTexts) {
  mList->addObject(network("N", {"G1", {"a"}, "7"}));
  mList->addObject(network("M", {"G2", {"b"}, "07"}));
  EXPECT_THAT(list(), ElementsAre("N", "M"));
}

TEST_F(AddingUsers, TakesNoKeyForNoMatch) {
  mList->addObject(network("N", {"", {"a"}, "1"}));
  mList->addObject(network("M", {"", {"b"}, "2"}));
  EXPECT_THAT(list(), ElementsAre("N", "M"));
  EXPECT_EQ(byShortName("b"), "M");
}

// Removing goes by the GUID, so an entry without one stays beside the local user.
TEST_F(AddingUsers, CannotReplaceANetworkUserWithoutAGUIDButAddsTheLocalOne) {
  mList->addObject(network("N", {"", {"name"}, "1"}));
  mList->addObject(local("L", {"G", {"name"}, "1"}));
  EXPECT_THAT(list(), ElementsAre("N", "L"));
  EXPECT_EQ(byShortName("name"), "L");
}

TEST_F(AddingUsers, DropsALocalUserWithoutServiceAccessEvenFromAnEmptyList) {
  mWorld->membership().setAccessList("gatehall", {});
  mList->addObject(local("L", {"G", {"name"}, "1"}));
  EXPECT_THAT(list(), IsEmpty());
}

TEST_F(AddingUsers, AddsANetworkUserWithoutServiceAccess) {
  mWorld->membership().setAccessList("gatehall", {});
  mList->addObject(network("N", {"G", {"name"}, "1"}));
  EXPECT_THAT(list(), ElementsAre("N"));
}

TEST_F(AddingUsers, KeepsTheNetworkUserWhenTheLocalOneHasNoServiceAccess) {
  mList->addObject(network("N", {"G", {"name"}, "1"}));
  mWorld->membership().setAccessList("gatehall", {});
  mList->addObject(local("L", {"G", {"name"}, "1"}));
  EXPECT_THAT(list(), ElementsAre("N"));
}

TEST_F(AddingUsers, AppendsAnOtherUserEachTimeAndToNoIndex) {
  mWorld->membership().setAccessList("gatehall", {});
  const auto jane = CachedUser::cachedOtherUser("Jane");
  mList->addObject(jane);
  mList->addObject(jane);
  EXPECT_THAT(list(), ElementsAre("Jane", "Jane"));
  EXPECT_EQ(byShortName("Jane"), "nobody");
  mList->removeObject(jane);
  EXPECT_THAT(list(), ElementsAre("Jane", "Jane"));
}

TEST_F(AddingUsers, OfAnotherListKeepsItsOrderAndTheRules) {
  const auto other = CachedUserList::cachedUserList();
  other->addObject(local("L", {"G", {"name"}, "1"}));
  other->addObject(network("new", {"G2", {"b"}, "2"}));
  mList->addObject(network("N", {"G", {"name"}, "1"}));
  mList->addObject(CachedUser::cachedOtherUser("Jane"));
  mList->addCachedUserList(*other);
  EXPECT_THAT(list(), ElementsAre("Jane", "L", "new"));
  EXPECT_EQ(other->count(), 2U);
}

TEST_F(AddingUsers, OfAListToItselfDoublesOtherUsersOnly) {
  mList->addObject(local("L", {"G", {"name"}, "1"}));
  mList->addObject(CachedUser::cachedOtherUser("Jane"));
  mList->addCachedUserList(*mList);
  EXPECT_THAT(list(), ElementsAre("L", "Jane", "Jane"));
}

using RemovingUsers = AddingUsers;

TEST_F(RemovingUsers, TakesAUserFromTheListAndTheIndexes) {
  const auto user = local("L", {"G", {"name"}, "1"});
  mList->addObject(user);
  mList->addObject(local("M", {"G2", {"m"}, "2"}));
  mList->removeObject(user);
  EXPECT_THAT(list(), ElementsAre("M"));
  EXPECT_EQ(byGUID("G"), "nobody");
  EXPECT_EQ(byShortName("name"), "nobody");
  mList->addObject(network("N", {"G9", {"x"}, "1"}));
  EXPECT_THAT(list(), ElementsAre("M", "N")) << "its user id is free again";
}

TEST_F(RemovingUsers, LeavesAliasesThatStillLeadToTheRemovedUser) {
  const auto user = local("John", {"G", {"jdoe", "john"}, "1"});
  mList->addObject(user);
  EXPECT_EQ(byShortName("jdoe"), "John");
  EXPECT_EQ(byShortName("john"), "John");
  mList->removeObject(user);
  EXPECT_THAT(list(), IsEmpty());
  EXPECT_EQ(byShortName("jdoe"), "nobody");
  EXPECT_EQ(byShortName("john"), "John");
}

TEST_F(RemovingUsers, LetsAStaleAliasRefuseANetworkUserOfThatName) {
  const auto user = local("John", {"G", {"jdoe", "john"}, "1"});
  mList->addObject(user);
  mList->removeObject(user);
  mList->addObject(network("N", {"G2", {"john"}, "2"}));
  EXPECT_THAT(list(), IsEmpty());
}

TEST_F(RemovingUsers, OfSeveralAtOnceIsThatOfEachInTurn) {
  const auto first = local("first", {"G1", {"a", "alias"}, "1"});
  const auto third = local("third", {"G3", {"c"}, "3"});
  mList->addObject(first);
  mList->addObject(local("second", {"G2", {"b"}, "2"}));
  mList->addObject(third);
  mList->addObject(CachedUser::cachedOtherUser("Jane"));
  mList->removeObjects({third, nullptr, first, first, mList->lastObject()});
  EXPECT_THAT(list(), ElementsAre("second", "Jane"));
  EXPECT_EQ(byGUID("G3"), "nobody");
  EXPECT_EQ(byShortName("a"), "nobody");
  EXPECT_EQ(byShortName("alias"), "first");
  mList->removeObjects({});
  EXPECT_THAT(list(), ElementsAre("second", "Jane"));
}

TEST_F(RemovingUsers, IgnoresNobodyAndAStranger) {
  mList->addObject(local("L", {"G", {"name"}, "1"}));
  mList->removeObject(nullptr);
  mList->removeObject(local("S", {"GS", {"stranger"}, "2"}));
  EXPECT_THAT(list(), ElementsAre("L"));
}

TEST_F(RemovingUsers, RemovesNothingForAUserWithoutAGUID) {
  const auto user = local("L", {"", {"name"}, "1"});
  mList->addObject(user);
  mList->removeObject(user);
  EXPECT_THAT(list(), ElementsAre("L"));
  EXPECT_EQ(byShortName("name"), "L");
}

TEST_F(RemovingUsers, FindsTheEntryByGUIDFirst) {
  mList->addObject(local("by GUID", {"G1", {"a"}, "1"}));
  mList->addObject(local("by name", {"G2", {"b"}, "2"}));
  mList->addObject(local("by user id", {"G3", {"c"}, "3"}));
  mList->removeObject(local("argument", {"G1", {"b"}, "3"}));
  EXPECT_THAT(list(), ElementsAre("by name", "by user id"));
  EXPECT_EQ(byShortName("a"), "by GUID") << "the entry's own keys that differ stay";
  EXPECT_EQ(byShortName("b"), "nobody") << "the argument's keys go, whoever has them";
}

TEST_F(RemovingUsers, FindsTheEntryByNameNext) {
  mList->addObject(local("by name", {"G2", {"x", "b"}, "2"}));
  mList->addObject(local("by user id", {"G3", {"c"}, "3"}));
  mList->removeObject(local("argument", {"G9", {"b"}, "3"}));
  EXPECT_THAT(list(), ElementsAre("by user id"));
  EXPECT_EQ(byGUID("G2"), "by name");
}

TEST_F(RemovingUsers, FindsTheEntryByUserIDLast) {
  mList->addObject(local("by user id", {"G3", {"c"}, "3"}));
  mList->removeObject(local("argument", {"G9", {"z"}, "3"}));
  EXPECT_THAT(list(), IsEmpty());
  EXPECT_EQ(byGUID("G3"), "by user id");
  EXPECT_EQ(byShortName("c"), "by user id");
}

TEST_F(AddingUsers, OfAListThatIsGivenAwayAreThoseWhoWouldBeAddedOneByOne) {
  const auto other = CachedUserList::cachedUserList();
  other->addObject(network("net", {"G3", {"n"}, "3"}));
  other->addObject(local("one", {"G1", {"a", "x"}, "1"}));
  other->addObject(local("two", {"G2", {"b", "y"}, "2"}));
  other->addObject(CachedUser::cachedOtherUser("other"));
  mList->addCachedUserList(std::move(*other));
  EXPECT_THAT(list(), ElementsAre("net", "one", "two", "other"));
  EXPECT_EQ(byGUID("G2"), "two");
  EXPECT_EQ(byShortName("y"), "two");
  mList->addObject(local("three", {"G4", {"x"}, "4"}));
  mList->addObject(local("home", {"G3", {"n"}, "3"}));
  EXPECT_THAT(list(), ElementsAre("one", "two", "other", "home"));
}

TEST_F(AddingUsers, OfAListThatIsGivenAwayMeetThoseWhoAreThere) {
  const auto other = CachedUserList::cachedUserList();
  other->addObject(local("one", {"G1", {"a"}, "1"}));
  other->addObject(local("two", {"G2", {"b"}, "2"}));
  mList->addObject(local("first", {"G1", {"f"}, "9"}));
  mList->addCachedUserList(std::move(*other));
  EXPECT_THAT(list(), ElementsAre("first", "two"));
}

TEST_F(AddingUsers, OfAListThatIsGivenAwayAreTriedAgainWhereAnAliasIsAnothersName) {
  const auto other = CachedUserList::cachedUserList();
  other->addObject(local("bob", {"G1", {"bob"}, "1"}));
  other->addObject(local("ann", {"G2", {"ann", "bob"}, "2"}));
  other->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  mList->addCachedUserList(std::move(*other));
  EXPECT_THAT(list(), ElementsAre("ann")) << "who comes first now, and goes by bob's name as well";
}

TEST_F(AddingUsers, OfAListThatIsGivenAwayLeaveNoTraceOfThoseWhoWereRemovedFromIt) {
  const auto other = CachedUserList::cachedUserList();
  const auto one = local("one", {"G1", {"a", "x"}, "1"});
  other->addObject(one);
  other->removeObject(one);
  EXPECT_EQ(nameOf(other->findUserByShortName("x")), "one");
  mList->addCachedUserList(std::move(*other));
  EXPECT_EQ(byShortName("x"), "nobody");
}

}  // namespace
}  // namespace gatehall
