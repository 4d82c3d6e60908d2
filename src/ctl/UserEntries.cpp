#include "ctl/UserEntries.h"

#include <initializer_list>

namespace gatehall::ctl {

namespace {

Json userJson(const CachedUser& user) {
  Json entry;
  entry["shortName"] = orNull(user.shortName());
  entry["longName"] = orNull(user.longName());
  entry["uid"] = user.getUid();
  entry["guid"] = orNull(user.getGUID());
  entry["node"] = orNull(user.node());
  entry["local"] = user.isLocalUser();
  entry["current"] = user.isCurrentUser();
  entry["suspended"] = user.isSuspended();
  entry["mobile"] = user.isMobileHomeUser();
  entry["picture"] = orNull(user.userPicturePath());
  return entry;
}

}  // namespace

Json usersJson(const std::shared_ptr<CachedUserList>& users) {
  if (!users) return nullptr;
  auto list = Json::array();
  for (const auto& user : *users) list.push_back(userJson(*user));
  return list;
}

std::string userMarks(const Json& user) {
  std::string text;
  for (const auto* mark : {"local", "mobile", "current", "suspended"}) {
    if (!user.at(mark).get<bool>()) continue;
    if (!text.empty()) text += ", ";
    text += mark;
  }
  return text.empty() ? "-" : text;
}

Table usersTable(const Json& users, const std::string& withoutList) {
  if (users.is_null()) return {.rows = {{{withoutList}}}};
  Table table{.header = {"UID", "SHORT NAME", "LONG NAME", "NODE", "MARKS", "GUID"},
              .count = countText(users.size(), "user")};
  for (const auto& user : users) {
    table.rows.push_back({{cellText(user.at("uid"))},
                          {cellText(user.at("shortName"))},
                          {cellText(user.at("longName"))},
                          {cellText(user.at("node"))},
                          {userMarks(user)},
                          {cellText(user.at("guid"))}});
  }
  return table;
}

}  // namespace gatehall::ctl
