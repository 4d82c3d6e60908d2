#include <gtest/gtest.h>

#include "ctl/watch/UserListChanges.h"

namespace gatehall::ctl {
namespace {

/// A user as the list has it, of whom the long name may change.
Json user(const std::string& name, const std::string& longName = "") {
  return {{"shortName", name}, {"longName", longName}, {"uid", 1000}, {"guid", "GUID " + name}};
}

Json list(const std::string& names) {
  auto users = Json::array();
  for (const char name : names) users.push_back(user(std::string(1, name)));
  return users;
}

/// The changes in short: "-b2 +x1 ~a3(position)".
std::string changes(const Json& before, const Json& after) {
  std::string text;
  for (const auto& change : changesBetween(before, after)) {
    if (!text.empty()) text += ' ';
    text += change.kind == UserListChange::Kind::Removed ? '-'
            : change.kind == UserListChange::Kind::Added ? '+'
                                                         : '~';
    text += change.user.at("shortName").get<std::string>() + std::to_string(change.position);
    if (change.kind != UserListChange::Kind::Changed) continue;
    text += change.was.dump();
  }
  return text;
}

TEST(UserListChanges, OfEqualListsAreNone) {
  EXPECT_EQ(changes(list("abc"), list("abc")), "");
  EXPECT_EQ(changes(list(""), list("")), "");
}

TEST(UserListChanges, AreWhoWentThenWhoCame) {
  EXPECT_EQ(changes(list("abcd"), list("xbdy")), "-a1 -c3 +x1 +y4");
  EXPECT_EQ(changes(list("ab"), list("")), "-a1 -b2");
  EXPECT_EQ(changes(list(""), list("ab")), "+a1 +b2");
}

TEST(UserListChanges, TellWhatWasDifferentAboutAUser) {
  EXPECT_EQ(changes(Json::array({user("a", "Ann"), user("b", "Bob")}),
                    Json::array({user("a", "Ann"), user("b", "Robert")})),
            R"(~b2{"longName":"Bob"})");
}

TEST(UserListChanges, CallAsFewUsersMovedAsTheNewOrderNeeds) {
  EXPECT_EQ(changes(list("abcde"), list("acdeb")), R"(~b5{"position":2})");
  EXPECT_EQ(changes(list("abcde"), list("eabcd")), R"(~e1{"position":5})");
  EXPECT_EQ(changes(list("ab"), list("ba")), R"(~b1{"position":2})");
  EXPECT_EQ(changes(list("abc"), list("cba")), R"(~c1{"position":3} ~b2{"position":2})");
}

TEST(UserListChanges, CallNobodyMovedForOthersWhoCameOrWent) {
  EXPECT_EQ(changes(list("abc"), list("xabc")), "+x1");
  EXPECT_EQ(changes(list("xabc"), list("abc")), "-x1");
}

TEST(UserListChanges, TellOfAUserWhoIsDifferentAndElsewhereOnce) {
  EXPECT_EQ(changes(Json::array({user("a", "Ann"), user("b", "Bob"), user("c", "Carol")}),
                    Json::array({user("b", "Bob"), user("c", "Carol"), user("a", "Zann")})),
            R"(~a3{"longName":"Ann","position":1})");
}

TEST(UserListChanges, KnowAUserWithoutAGUIDByIdAndName) {
  auto ann = user("a");
  ann["guid"] = nullptr;
  auto renumbered = ann;
  renumbered["uid"] = 1001;
  EXPECT_EQ(changes(Json::array({ann}), Json::array({ann})), "");
  EXPECT_EQ(changes(Json::array({ann}), Json::array({renumbered})), "-a1 +a1");
}

TEST(UserListChanges, TellApartUsersWhoAreKnownByTheSame) {
  EXPECT_EQ(changes(list("aab"), list("ab")), "-a2");
  EXPECT_EQ(changes(list("ab"), list("aab")), "+a2");
}

}  // namespace
}  // namespace gatehall::ctl
