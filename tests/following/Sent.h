#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gatehall/base/Value.h"
#include "listing/ListChange.h"
#include "listing/ListedUser.h"

// What the service sends, as it is read from the bus.

namespace gatehall {

inline std::shared_ptr<const ListedUser> userNamed(const std::string& name) {
  std::uint32_t uid = 1000;
  for (const char letter : name) uid += static_cast<unsigned char>(letter);
  ListedUser user;
  user.shortName = name;
  user.guid = name + "-guid";
  user.uid = uid;
  user.local = true;
  return std::make_shared<ListedUser>(std::move(user));
}

inline Value sentUser(const ListedUser& user) {
  Dictionary entries{{"uid", std::int64_t{user.uid}},
                     {"local", user.local},
                     {"current", user.current},
                     {"suspended", user.suspended},
                     {"mobile", user.mobile}};
  const auto add = [&](const char* key, const std::optional<std::string>& text) {
    if (text) entries.emplace(key, *text);
  };
  add("shortName", user.shortName);
  add("longName", user.longName);
  add("guid", user.guid);
  add("node", user.node);
  add("picture", user.picture);
  if (user.kinwatchAllowsLogin) {
    entries.emplace("kinwatchAllowsLogin", *user.kinwatchAllowsLogin);
  }
  if (user.kinwatchNextCurfewTime) {
    const std::int64_t moment = user.kinwatchNextCurfewTime->time_since_epoch().count();
    entries.emplace("kinwatchNextCurfewTime", moment);
  }
  return entries;
}

inline Array page(int serial, std::size_t total, const ListedUsers& users) {
  Array entries;
  for (const auto& user : users) entries.push_back(sentUser(*user));
  return {serial, static_cast<std::int64_t>(total), entries};
}

inline Value sent(const std::vector<ListChange>& changes) {
  std::vector<Array> lists;
  lists.reserve(changes.size());
  for (const auto& change : changes) {
    constexpr std::array names = {"removed", "added", "changed", "moved"};
    Dictionary was;
    if (change.formerPosition) {
      was.emplace("position", static_cast<std::int64_t>(*change.formerPosition));
    }
    Array& entry = lists.emplace_back();
    entry.reserve(4);
    entry.emplace_back(names.at(static_cast<std::size_t>(change.kind)));
    entry.emplace_back(static_cast<std::int64_t>(change.position));
    entry.push_back(sentUser(*change.user));
    entry.emplace_back(std::move(was));
  }
  Array list;
  list.reserve(lists.size());
  for (auto& entry : lists) list.emplace_back(std::move(entry));
  return list;
}

}  // namespace gatehall
