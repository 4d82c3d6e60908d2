#include "ctl/export/Exported.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "ctl/export/SettingsSections.h"
#include "gatehall/base/PlatformException.h"
#include "linux/MachineLocale.h"

namespace gatehall::ctl {

namespace {

constexpr const char* kService = "gatehall";

Json sessionJson(const Dictionary& session) {
  auto json = Json::object();
  const auto add = [&](const char* name, std::string_view key) {
    const auto found = session.find(key);
    if (found != session.end()) json[name] = toJson(found->second);
  };
  add("id", session::IDKey);
  add("userID", session::UserIDKey);
  add("userName", session::UserNameKey);
  add("loginDone", session::LoginDoneKey);
  return json;
}

/// And who has a session.
Json sessionsJson(Platform& machine, Seeds& seeds) {
  Json json = {{"current", nullptr}, {"list", nullptr}};
  const auto take = [&](const Dictionary& session) {
    auto entry = sessionJson(session);
    if (entry.contains("userName")) seeds.names.insert(entry["userName"]);
    if (entry.contains("userID")) {
      seeds.userIDs.insert(
          std::to_string(static_cast<std::uint32_t>(entry["userID"].get<std::int64_t>())));
    }
    return entry;
  };
  if (const auto list = machine.sessions().copySessionList()) {
    json["list"] = Json::array();
    for (const auto& each : *list) json["list"].push_back(each ? take(*each) : Json());
  }
  if (const auto current = machine.sessions().copyCurrentSession())
    json["current"] = take(*current);
  // One of the list goes by its id.
  for (const auto& each : json["list"]) {
    if (each.is_object() && each.contains("id") && each == json["current"]) {
      json["current"] = each["id"];
      break;
    }
  }
  return json;
}

Json limitJson(const LoginLimit& limit) {
  Json json = {{"allowed", limit.allowed}};
  if (!limit.allowed) json["result"] = limit.result;
  if (limit.nextCurfew) json["nextCurfew"] = isoText(*limit.nextCurfew);
  return json;
}

Json limitsJson(const Host& host, Platform& machine, const std::set<std::uint32_t>& userIDs) {
  auto json = Json::object();
  if (host.world() != nullptr) {
    for (const auto& [userID, limit] : host.world()->parentalControls().limits()) {
      json[std::to_string(userID)] = limitJson(limit);
    }
    return json;
  }
  for (const auto userID : userIDs) {
    LoginLimit limit;
    limit.allowed = machine.parentalControls().mayLogInNow(userID, limit.result, limit.nextCurfew);
    if (!limit.allowed || limit.nextCurfew) json[std::to_string(userID)] = limitJson(limit);
  }
  return json;
}

Json accessListJson(const AccessList& list) {
  auto json = Json::object();
  if (list.status != 0) json["status"] = list.status;
  for (const auto& member : list.members) {
    json["members"].push_back(std::visit([](const auto& each) { return Json(each); }, member));
  }
  if (!list.missing.empty()) json["missing"] = list.missing;
  return json;
}

Json membershipJson(const Host& host, const DirectorySection& directory) {
  auto json = Json::object();
  if (host.world() != nullptr) {
    for (const auto& [service, list] : host.world()->membership().accessLists()) {
      json[service] = accessListJson(list);
    }
  } else if (!directory.accessGroups.empty()) {
    AccessList list;
    list.missing = directory.missing;
    for (const auto& guid : directory.accessGroups) list.members.emplace_back(guid);
    json[kService] = accessListJson(list);
  }
  return json;
}

Json faultJson(const Fault& fault) {
  Json json = {{"operation", fault.operation}};
  if (fault.call) json["call"] = *fault.call;
  if (fault.kind == Fault::Kind::Absent) {
    json["absent"] = true;
  } else {
    json["raise"] = fault.kind == Fault::Kind::PlatformException ? "platform" : "other";
  }
  if (fault.text) json["text"] = *fault.text;
  for (const auto& [key, value] :
       {std::pair("node", fault.where.node), std::pair("attribute", fault.where.attribute),
        std::pair("value", fault.where.value), std::pair("user", fault.where.user)}) {
    if (value) json["where"][key] = *value;
  }
  return json;
}

void addUnlessEmpty(Json& world, const char* name, Json section) {
  if (!section.empty()) world[name] = std::move(section);
}

constexpr std::size_t kLineWidth = 100;

std::string plainText(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// The document on one line, with blanks between its parts.
std::string onOneLine(const Json& json) {
  if (!json.is_structured()) return plainText(json);
  const bool isObject = json.is_object();
  std::string text;
  for (const auto& [key, value] : json.items()) {
    if (!text.empty()) text += ", ";
    if (isObject) text.append(plainText(key)) += ": ";
    text += onOneLine(value);
  }
  return (isObject ? "{" : "[") + text + (isObject ? "}" : "]");
}

/// Writes a document: what fits stands on one line, and what has but plain parts fills lines.
class Lines {
 public:
  std::string text;

  void add(const Json& json, std::size_t indent) {
    auto line = onOneLine(json);
    if (!json.is_structured() || json.empty() || fits(line)) {
      append(line);
      return;
    }
    const bool isFilled = std::ranges::none_of(
        json, [](const Json& part) { return part.is_object() && !part.empty(); });
    const bool isObject = json.is_object();
    append(isObject ? "{" : "[");
    bool isFirst = true;
    for (const auto& [key, value] : json.items()) {
      if (!isFirst) append(",");
      const auto name = isObject ? plainText(key) + ": " : std::string();
      if (isFilled && !isFirst && fits(" " + name + onOneLine(value))) {
        append(" ");
      } else {
        startLine(indent + 2);
      }
      isFirst = false;
      append(name);
      add(value, indent + 2);
    }
    startLine(indent);
    append(isObject ? "}" : "]");
  }

 private:
  /// With a comma or a bracket behind it.
  bool fits(std::string_view line) const { return mUsed + line.size() < kLineWidth; }
  void append(std::string_view part) {
    text += part;
    mUsed += part.size();
  }
  void startLine(std::size_t indent) {
    text.append("\n").append(indent, ' ');
    mUsed = indent;
  }

  std::size_t mUsed = 0;
};

}  // namespace

Exported exported(const Host& host, Extent extent) {
  auto& machine = host.world() != nullptr ? static_cast<Platform&>(*host.world())
                                          : static_cast<Platform&>(*host.machine());
  Gathered gathered;
  Exported result;
  auto& world = result.world;
  world["now"] = isoText(machine.clock().now());
  const auto locale = host.world() != nullptr ? host.world()->collation().locale()
                                              : machineLocale(host.options(), "LC_COLLATE");
  if (!locale.empty()) world["locale"] = locale;
  world["process"] = {{"effectiveUserID", machine.process().effectiveUserID()}};
  auto settings = settingsSections(host, machine, gathered);
  Seeds seeds;
  seeds.addGUIDs(settings.listed());
  auto sessions = sessionsJson(machine, seeds);
  const auto directory = directorySection(host, machine, std::move(seeds), extent, gathered);
  world["directory"] = directory.json;
  world["sessions"] = std::move(sessions);
  addUnlessEmpty(world, "membership", membershipJson(host, directory));
  addUnlessEmpty(world, "parentalControls", limitsJson(host, machine, directory.userIDs));
  addUnlessEmpty(world, "preferences", std::move(settings.preferences));
  addUnlessEmpty(world, "managed", std::move(settings.managed));
  if (host.world() != nullptr) {
    for (const auto& fault : host.world()->faults()) gathered.faults.push_back(faultJson(fault));
  }
  addUnlessEmpty(world, "faults", std::move(gathered.faults));
  result.unknown = std::move(gathered.unknown);
  return result;
}

std::string worldText(const Exported& exported) {
  std::string text("// A machine as gatehallctl export found it.\n");
  for (const auto& sentence : exported.unknown) text.append("// ").append(sentence).append(".\n");
  Lines lines;
  lines.add(exported.world, 0);
  return text.append(lines.text) += '\n';
}

}  // namespace gatehall::ctl
