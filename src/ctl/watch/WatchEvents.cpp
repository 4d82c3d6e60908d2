#include "ctl/watch/WatchEvents.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "ctl/print/LogEntries.h"
#include "ctl/print/NetworkText.h"
#include "ctl/print/Table.h"
#include "ctl/print/UserEntries.h"

namespace gatehall::ctl::watchEvent {

namespace {

Json event(Date now, const char* name) { return {{"time", isoText(now)}, {"event", name}}; }

const char* nameOf(ListChange::Kind kind) {
  switch (kind) {
    case ListChange::Kind::Removed:
      return "removed";
    case ListChange::Kind::Added:
      return "added";
    case ListChange::Kind::Changed:
    case ListChange::Kind::Moved:
      break;
  }
  return "changed";
}

/// userJson with what parental controls say: whether login is allowed, and the next curfew.
Json entryOf(const ListedUser& user) {
  auto entry = userJson(user);
  const auto& curfew = user.kinwatchNextCurfewTime;
  entry["kinwatchAllowsLogin"] =
      user.kinwatchAllowsLogin ? Json(*user.kinwatchAllowsLogin) : Json();
  entry["kinwatchNextCurfewTime"] = curfew ? Json(isoText(*curfew)) : Json();
  return entry;
}

/// Of a changed user what is different, as it was, by key; with "position" when the user stands
/// elsewhere among those who stayed.
Json differences(const ListChange& change, const Json& is) {
  auto was = Json::object();
  const auto before = entryOf(*change.was);
  for (const auto& [key, value] : before.items()) {
    if (is.at(key) != value) was[key] = value;
  }
  if (change.formerPosition) was["position"] = *change.formerPosition;
  return was;
}

std::string userText(const Json& user) {
  return cellText(user.at("shortName")) + "  " + cellText(user.at("longName")) + "  " +
         userMarks(user);
}

/// What people call a key of entryOf.
std::string_view wordsFor(std::string_view key) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 6> words = {
      {{"shortName", "short name"},
       {"longName", "long name"},
       {"current", "in front"},
       {"suspended", "logged in"},
       {"kinwatchAllowsLogin", "allowed hours"},
       {"kinwatchNextCurfewTime", "next curfew"}}};
  const auto* found = std::ranges::find(words, key, &decltype(words)::value_type::first);
  return found != words.end() ? found->second : key;
}

std::string changeText(const Json& event) {
  const auto& user = event.at("user");
  auto text = cellText(user.at("shortName"));
  const char* separator = "  ";
  for (const auto& [key, was] : event.at("was").items()) {
    const auto& is = key == "position" ? event.at(key) : user.at(key);
    text.append(separator).append(wordsFor(key)).append(": ");
    text += cellText(was) + " -> " + cellText(is);
    separator = ", ";
  }
  return text;
}

}  // namespace

Json list(Date now, const ListedUsers& users) {
  auto json = event(now, "list");
  json["users"] = Json::array();
  for (const auto& user : users) json["users"].push_back(entryOf(*user));
  return json;
}

Json change(Date now, const ListChange& change) {
  auto json = event(now, nameOf(change.kind));
  json["position"] = change.position;
  json["user"] = entryOf(*change.user);
  if (change.was) json["was"] = differences(change, json["user"]);
  return json;
}

Json unchanged(Date now, const ListedUsers& users) {
  auto json = event(now, "unchanged");
  json["count"] = users.size();
  return json;
}

Json noList(Date now, const std::string& reason) {
  auto json = event(now, "noList");
  json["reason"] = reason;
  return json;
}

Json network(Date now, std::int32_t status, bool exists) {
  auto json = event(now, "network");
  json["networkStatus"] = status;
  json["parentNetworkExists"] = exists;
  return json;
}

Json step(Date now, const std::string& name) {
  auto json = event(now, "step");
  json["step"] = name;
  return json;
}

Json logged(Date now, const RecordingLog::Entry& entry) {
  auto json = event(now, "logged");
  json["level"] = levelName(entry.level);
  json["text"] = entry.text;
  return json;
}

Json serviceGone(Date now, const std::string& why) {
  auto json = event(now, "service");
  json["state"] = "gone";
  json["reason"] = why;
  return json;
}

Json serviceBack(Date now, bool hasCaughtUp) {
  auto json = event(now, "service");
  json["state"] = hasCaughtUp ? "caught up" : "read anew";
  return json;
}

std::string text(const Json& event) {
  const auto& name = event.at("event");
  if (name == "added") return "+ " + userText(event.at("user"));
  if (name == "removed") return "- " + userText(event.at("user"));
  if (name == "changed") return "~ " + changeText(event);
  if (name == "list") return "= " + countText(event.at("users").size(), "user");
  if (name == "unchanged") {
    return "= " + countText(event.at("count").get<std::size_t>(), "user") + ", as before";
  }
  if (name == "noList") return "! no list can be had: " + cellText(event.at("reason"));
  if (name == "network") {
    return "* network status " + networkStatusText(event.at("networkStatus").get<std::int32_t>());
  }
  if (name == "service") {
    if (event.contains("reason")) return "! gatehalld is gone: " + cellText(event.at("reason"));
    return "* gatehalld is back, " + cellText(event.at("state"));
  }
  if (name == "step") return "> " + cellText(event.at("step"));
  return "! logged, " + cellText(event.at("level")) + ": " + cellText(event.at("text"));
}

}  // namespace gatehall::ctl::watchEvent
