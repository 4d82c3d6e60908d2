#include "service/answers/Dictionaries.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace gatehall::service {

namespace {

struct ToValue {
  std::optional<Value> operator()(std::monostate) const { return std::nullopt; }
  std::optional<Value> operator()(const Properties& properties) const {
    return Value(dictionaryOf(properties));
  }
  std::optional<Value> operator()(const std::vector<Properties>& list) const {
    if (list.empty()) return std::nullopt;
    Array array;
    for (const auto& each : list) array.emplace_back(dictionaryOf(each));
    return Value(std::move(array));
  }
  template <class Plain>
  std::optional<Value> operator()(const Plain& plain) const {
    return Value(plain);
  }
};

}  // namespace

Dictionary dictionaryOf(const Properties& properties) {
  Dictionary entries;
  for (const auto& [key, content] : properties) {
    if (auto value = std::visit(ToValue(), content)) {
      entries.emplace(std::string(key), std::move(*value));
    }
  }
  return entries;
}

Dictionary dictionaryOf(const ListedUser& user, bool withHours) {
  Dictionary entries{{"uid", std::int64_t{user.uid}},
                     {"local", user.local},
                     {"current", user.current},
                     {"suspended", user.suspended},
                     {"mobile", user.mobile}};
  const auto add = [&entries](const char* key, const std::optional<std::string>& text) {
    if (text) entries.emplace(key, *text);
  };
  add("shortName", user.shortName);
  add("longName", user.longName);
  add("guid", user.guid);
  add("node", user.node);
  add("picture", user.picture);
  if (!withHours) return entries;
  if (user.kinwatchAllowsLogin) {
    entries.emplace("kinwatchAllowsLogin", *user.kinwatchAllowsLogin);
  }
  if (user.kinwatchNextCurfewTime) {
    entries.emplace("kinwatchNextCurfewTime", Date(*user.kinwatchNextCurfewTime));
  }
  return entries;
}

}  // namespace gatehall::service
