#include "ctl/watch/WatchEvents.h"

#include "ctl/print/LogEntries.h"
#include "ctl/print/NetworkText.h"
#include "ctl/print/Table.h"
#include "ctl/print/UserEntries.h"

namespace gatehall::ctl::watchEvent {

namespace {

Json event(Date now, const char* name) { return {{"time", isoText(now)}, {"event", name}}; }

const char* nameOf(UserListChange::Kind kind) {
  switch (kind) {
    case UserListChange::Kind::Removed:
      return "removed";
    case UserListChange::Kind::Added:
      return "added";
    case UserListChange::Kind::Changed:
      break;
  }
  return "changed";
}

std::string userText(const Json& user) {
  return cellText(user.at("shortName")) + "  " + cellText(user.at("longName")) + "  " +
         userMarks(user);
}

std::string changeText(const Json& event) {
  const auto& user = event.at("user");
  auto text = cellText(user.at("shortName"));
  const char* separator = "  ";
  for (const auto& [key, was] : event.at("was").items()) {
    const auto& is = key == "position" ? event.at(key) : user.at(key);
    text += separator + key + ": " + cellText(was) + " -> " + cellText(is);
    separator = ", ";
  }
  return text;
}

}  // namespace

Json usersOf(const std::shared_ptr<CachedUserList>& list) {
  auto users = usersJson(list);
  std::size_t index = 0;
  for (auto& user : users) {
    const auto cached = list->objectAtIndex(index++);
    const auto curfew = cached->kinwatchNextCurfewTime();
    user["kinwatchAllowsLogin"] = cached->kinwatchAllowsLogin();
    user["kinwatchNextCurfewTime"] = curfew ? Json(isoText(*curfew)) : Json();
  }
  return users;
}

Json list(Date now, const Json& users) {
  auto json = event(now, "list");
  json["users"] = users;
  return json;
}

Json change(Date now, const UserListChange& change) {
  auto json = event(now, nameOf(change.kind));
  json["position"] = change.position;
  json["user"] = change.user;
  if (change.kind == UserListChange::Kind::Changed) json["was"] = change.was;
  return json;
}

Json unchanged(Date now, const Json& users) {
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
  if (name == "step") return "> " + cellText(event.at("step"));
  return "! logged, " + cellText(event.at("level")) + ": " + cellText(event.at("text"));
}

}  // namespace gatehall::ctl::watchEvent
