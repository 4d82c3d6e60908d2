#include <gtest/gtest.h>

#include "listing/ListChange.h"

namespace gatehall {
namespace {

/// A user of whom the long name may change.
ListedUser user(const std::string& name, const std::string& longName = "") {
  ListedUser user;
  user.shortName = name;
  user.longName = longName;
  user.uid = 1000;
  user.guid = "GUID " + name;
  return user;
}

ListedUsers list(std::initializer_list<ListedUser> users) {
  ListedUsers list;
  for (const auto& each : users) list.push_back(std::make_shared<const ListedUser>(each));
  return list;
}

ListedUsers list(const std::string& names) {
  ListedUsers users;
  for (const char name : names) {
    users.push_back(std::make_shared<const ListedUser>(user(std::string(1, name))));
  }
  return users;
}

char sign(ListChange::Kind kind) {
  switch (kind) {
    case ListChange::Kind::Removed:
      return '-';
    case ListChange::Kind::Added:
      return '+';
    case ListChange::Kind::Moved:
      return '>';
    case ListChange::Kind::Changed:
      break;
  }
  return '~';
}

/// The changes in short: "-b2 +x1 ~a3(Ann) >c4(from 2)".
std::string changes(const ListedUsers& before, const ListedUsers& after) {
  std::string text;
  for (const auto& change : changesBetween(before, after)) {
    if (!text.empty()) text += ' ';
    text += sign(change.kind) + *change.user->shortName + std::to_string(change.position);
    if (change.was && *change.was != *change.user) text += "(" + *change.was->longName + ")";
    if (change.formerPosition) text += "(from " + std::to_string(*change.formerPosition) + ")";
  }
  return text;
}

TEST(ListChange, OfEqualListsAreNone) {
  EXPECT_EQ(changes(list("abc"), list("abc")), "");
  EXPECT_EQ(changes(list(""), list("")), "");
}

TEST(ListChange, AreWhoWentThenWhoCame) {
  EXPECT_EQ(changes(list("abcd"), list("xbdy")), "-a1 -c3 +x1 +y4");
  EXPECT_EQ(changes(list("ab"), list("")), "-a1 -b2");
  EXPECT_EQ(changes(list(""), list("ab")), "+a1 +b2");
}

TEST(ListChange, TellWhatWasDifferentAboutAUser) {
  EXPECT_EQ(changes(list({user("a", "Ann"), user("b", "Bob")}),
                    list({user("a", "Ann"), user("b", "Robert")})),
            "~b2(Bob)");
}

TEST(ListChange, CallAsFewUsersMovedAsTheNewOrderNeeds) {
  EXPECT_EQ(changes(list("abcde"), list("acdeb")), ">b5(from 2)");
  EXPECT_EQ(changes(list("abcde"), list("eabcd")), ">e1(from 5)");
  EXPECT_EQ(changes(list("ab"), list("ba")), ">b1(from 2)");
  EXPECT_EQ(changes(list("abc"), list("cba")), ">c1(from 3) >b2(from 2)");
}

TEST(ListChange, CallNobodyMovedForOthersWhoCameOrWent) {
  EXPECT_EQ(changes(list("abc"), list("xabc")), "+x1");
  EXPECT_EQ(changes(list("xabc"), list("abc")), "-x1");
}

TEST(ListChange, TellOfAUserWhoIsDifferentAndElsewhereOnce) {
  EXPECT_EQ(changes(list({user("a", "Ann"), user("b", "Bob"), user("c", "Carol")}),
                    list({user("b", "Bob"), user("c", "Carol"), user("a", "Zann")})),
            "~a3(Ann)(from 1)");
}

TEST(ListChange, KnowAUserWithoutAGUIDByIdAndName) {
  auto ann = user("a");
  ann.guid.reset();
  auto renumbered = ann;
  renumbered.uid = 1001;
  auto nameless = ann;
  nameless.shortName = "";
  EXPECT_EQ(changes(list({ann}), list({ann})), "");
  EXPECT_EQ(changes(list({ann}), list({renumbered})), "-a1 +a1");
  EXPECT_EQ(changes(list({ann}), list({nameless})), "-a1 +1");
}

TEST(ListChange, TellApartUsersWhoAreKnownByTheSame) {
  EXPECT_EQ(changes(list("aab"), list("ab")), "-a2");
  EXPECT_EQ(changes(list("ab"), list("aab")), "+a2");
}

TEST(ListChange, AreTheSameBetweenListsThatShareUsers) {
  const auto before = list("abcdefgh");
  auto after = before;
  after.erase(after.begin() + 2);
  std::swap(after[3], after[4]);
  EXPECT_EQ(changes(before, after), "-c3 >f4(from 6)");
  EXPECT_EQ(changes(before, list("abdfegh")), "-c3 >f4(from 6)");
}

/// Where those of the list afterwards stood, "2+1" for the third, a new one and the second.
std::string places(const std::vector<ListChange>& changes, std::size_t count) {
  const auto found = placesBefore(changes, count);
  if (!found) return "for no such list";
  std::string text;
  for (const auto& place : *found) text += place ? std::to_string(*place) : "+";
  return text;
}

TEST(ListChange, TellWhereEverybodyStood) {
  const auto placesOf = [](const std::string& before, const std::string& after) {
    return places(changesBetween(list(before), list(after)), before.size());
  };
  EXPECT_EQ(placesOf("abc", "abc"), "012");
  EXPECT_EQ(placesOf("abc", "xacy"), "+02+");
  EXPECT_EQ(placesOf("abcd", "bcda"), "1230");
  EXPECT_EQ(placesOf("abcd", "dxb"), "3+1");
  EXPECT_EQ(placesOf("", "a"), "+");
  EXPECT_EQ(placesOf("a", ""), "");
}

TEST(ListChange, AreForNoListThatTheyDoNotFit) {
  using Kind = ListChange::Kind;
  const std::string none = "for no such list";
  EXPECT_EQ(places({{Kind::Removed, 3, {}, {}, {}}}, 2), none);
  EXPECT_EQ(places({{Kind::Removed, 0, {}, {}, {}}}, 2), none);
  EXPECT_EQ(places({{Kind::Removed, 1, {}, {}, {}}, {Kind::Removed, 1, {}, {}, {}}}, 2), none);
  EXPECT_EQ(places({{Kind::Added, 4, {}, {}, {}}}, 2), none);
  EXPECT_EQ(places({{Kind::Added, 2, {}, {}, {}}, {Kind::Added, 2, {}, {}, {}}}, 2), none);
  EXPECT_EQ(places({{Kind::Changed, 3, {}, {}, {}}}, 2), none);
  EXPECT_EQ(places({{Kind::Moved, 1, {}, {}, 3}}, 2), none);
  EXPECT_EQ(places({{Kind::Moved, 1, {}, {}, 0}}, 2), none);
}

}  // namespace
}  // namespace gatehall
