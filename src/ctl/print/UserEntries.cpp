#include "ctl/print/UserEntries.h"

#include <cstddef>
#include <optional>
#include <utility>

namespace gatehall::ctl {

namespace {

std::string marksText(bool isLocal, bool isMobile, bool isCurrent, bool isSuspended) {
  std::string text;
  const auto add = [&text](const char* mark) {
    if (!text.empty()) text += ", ";
    text += mark;
  };
  if (isLocal) add("local");
  if (isMobile) add("mobile");
  // Whoever is logged in counts as suspended, the current user too.
  if (isCurrent) {
    add("in front");
  } else if (isSuspended) {
    add("logged in");
  }
  return text.empty() ? "-" : text;
}

/// As cellText has it.
std::string cellTextOf(std::optional<std::string> text) {
  if (!text) return "-";
  return text->empty() ? "\"\"" : std::move(*text);
}

Table emptyTable(std::size_t users) {
  return {.header = {"UID", "SHORT NAME", "LONG NAME", "NODE", "MARKS", "GUID"},
          .fits = {Fit::Whole, Fit::Whole, Fit::Cut, Fit::Cut, Fit::Whole, Fit::Extra},
          .count = countText(users, "user")};
}

}  // namespace

Json userJson(const ListedUser& user) {
  Json entry;
  entry["shortName"] = orNull(user.shortName);
  entry["longName"] = orNull(user.longName);
  entry["uid"] = user.uid;
  entry["guid"] = orNull(user.guid);
  entry["node"] = orNull(user.node);
  entry["local"] = user.local;
  entry["current"] = user.current;
  entry["suspended"] = user.suspended;
  entry["mobile"] = user.mobile;
  entry["picture"] = orNull(user.picture);
  return entry;
}

Json usersJson(const std::shared_ptr<CachedUserList>& users) {
  if (!users) return nullptr;
  auto list = Json::array();
  for (const auto& user : *users) list.push_back(userJson(listed(*user)));
  return list;
}

std::string userMarks(const Json& user) {
  const auto has = [&user](const char* mark) { return user.at(mark).get<bool>(); };
  return marksText(has("local"), has("mobile"), has("current"), has("suspended"));
}

Table usersTable(const ListedUsers& users) {
  auto table = emptyTable(users.size());
  for (const auto& user : users) {
    table.rows.push_back({{std::to_string(user->uid)},
                          {cellTextOf(user->shortName)},
                          {cellTextOf(user->longName)},
                          {cellTextOf(user->node)},
                          {marksText(user->local, user->mobile, user->current, user->suspended)},
                          {cellTextOf(user->guid)}});
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
