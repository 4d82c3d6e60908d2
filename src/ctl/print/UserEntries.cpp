#include "ctl/print/UserEntries.h"

#include <cstddef>
#include <optional>
#include <utility>

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

std::string marksText(bool isLocal, bool isMobile, bool isCurrent, bool isSuspended) {
  std::string text;
  const auto add = [&text](const char* mark) {
    if (!text.empty()) text += ", ";
    text += mark;
  };
  if (isLocal) add("local");
  if (isMobile) add("mobile");
  if (isCurrent) add("current");
  if (isSuspended) add("suspended");
  return text.empty() ? "-" : text;
}

/// As cellText has it.
std::string cellTextOf(std::optional<std::string> text) {
  if (!text) return "-";
  return text->empty() ? "\"\"" : std::move(*text);
}

Table emptyTable(std::size_t users) {
  return {.header = {"UID", "SHORT NAME", "LONG NAME", "NODE", "MARKS", "GUID"},
          .count = countText(users, "user")};
}

}  // namespace

Json usersJson(const std::shared_ptr<CachedUserList>& users) {
  if (!users) return nullptr;
  auto list = Json::array();
  for (const auto& user : *users) list.push_back(userJson(*user));
  return list;
}

std::string userMarks(const Json& user) {
  const auto has = [&user](const char* mark) { return user.at(mark).get<bool>(); };
  return marksText(has("local"), has("mobile"), has("current"), has("suspended"));
}

Table usersTable(const Json& users, const std::string& withoutList) {
  if (users.is_null()) return {.rows = {{{withoutList}}}};
  auto table = emptyTable(users.size());
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

Table usersTable(const std::shared_ptr<CachedUserList>& users, const std::string& withoutList) {
  if (!users) return {.rows = {{{withoutList}}}};
  auto table = emptyTable(users->count());
  table.rows.reserve(users->count());
  for (const auto& user : *users) {
    auto& row = table.rows.emplace_back();
    row.reserve(table.header.size());
    row.push_back({std::to_string(user->getUid())});
    row.push_back({cellTextOf(user->shortName())});
    row.push_back({cellTextOf(user->longName())});
    row.push_back({cellTextOf(user->node())});
    row.push_back({marksText(user->isLocalUser(), user->isMobileHomeUser(), user->isCurrentUser(),
                             user->isSuspended())});
    row.push_back({cellTextOf(user->getGUID())});
  }
  return table;
}

}  // namespace gatehall::ctl
