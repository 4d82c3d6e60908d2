#include "world/file/WorldFile.h"

#include <limits>
#include <utility>

#include "portable/NameBasedUUID.h"
#include "world/file/Values.h"
#include "world/json/TextFile.h"

namespace gatehall {

namespace {

std::int32_t readInt32(const JsonCursor& at) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(at.integer(Limits::min(), Limits::max()));
}

void readProcess(const JsonCursor& section, WorldProcess& process) {
  section.object({"effectiveUserID"});
  section.with("effectiveUserID",
               [&](const JsonCursor& at) { process.setEffectiveUserID(readID(at)); });
}

void readMembership(const JsonCursor& section, WorldMembership& membership) {
  section.forEachMember([&](const std::string& service, const JsonCursor& list) {
    membership.setAccessList(service, readAccessList(list));
  });
}

void readParentalControls(const JsonCursor& section, WorldParentalControls& controls) {
  forEachUserID(section, [&](std::uint32_t userID, const JsonCursor& limit) {
    controls.setLimit(userID, readLimit(limit));
  });
}

void readPreferences(const JsonCursor& section, WorldPreferences& preferences) {
  using Scope = WorldPreferences::Scope;
  section.forEachMember([&](const std::string& domain, const JsonCursor& settings) {
    settings.object({"user", "system"});
    for (const auto& [key, scope] :
         {std::pair("user", Scope::User), std::pair("system", Scope::System)}) {
      settings.with(key, [&, place = scope](const JsonCursor& at) {
        preferences.setSettings(place, domain, readDictionary(at));
      });
    }
  });
}

void readManaged(const JsonCursor& section, WorldPropertyLists& files) {
  section.forEachMember([&](const std::string& domain, const JsonCursor& content) {
    files.setFile(WorldPropertyLists::managedPath(domain), readValue(content));
  });
}

}  // namespace

std::shared_ptr<World> worldFromFile(const std::filesystem::path& path) {
  return worldFromText(readTextFile(path), path.string());
}

std::shared_ptr<World> worldFromText(std::string_view json, std::string nameForErrors) {
  const JsonSource source{std::move(nameForErrors), json};
  const auto tree = parseJson(source);
  return worldFromJson({source, tree});
}

std::shared_ptr<World> worldFromJson(const JsonCursor& root) {
  using At = const JsonCursor&;
  auto world = std::make_shared<World>();
  root.object({"now", "locale", "process", "directory", "sessions", "membership",
               "parentalControls", "preferences", "managed", "faults"});
  root.with("now", [&](At at) { world->clock().set(readDate(at)); });
  root.with("locale", [&](At at) { world->collation().setLocale(at.string()); });
  root.with("process", [&](At at) { readProcess(at, world->process()); });
  root.with("directory", [&](At at) { readDirectory(at, world->directory()); });
  root.with("sessions", [&](At at) { readSessions(at, world->sessions()); });
  root.with("membership", [&](At at) { readMembership(at, world->membership()); });
  root.with("parentalControls",
            [&](At at) { readParentalControls(at, world->parentalControls()); });
  root.with("preferences", [&](At at) { readPreferences(at, world->preferences()); });
  root.with("managed", [&](At at) { readManaged(at, world->propertyLists()); });
  root.with("faults", [&](At at) { world->setFaults(readFaults(at)); });
  return world;
}

WorldSession readSession(const JsonCursor& at) {
  at.object({"id", "userID", "userName", "loginDone"});
  WorldSession session;
  at.with("id", [&](const JsonCursor& id) { session.id = id.integer(); });
  at.with("userID", [&](const JsonCursor& userID) { session.userID = readInt32(userID); });
  at.with("userName", [&](const JsonCursor& name) { session.userName = name.string(); });
  at.with("loginDone", [&](const JsonCursor& done) { session.loginDone = done.boolean(); });
  return session;
}

AccessList readAccessList(const JsonCursor& at) {
  at.object({"members", "status", "missing"});
  AccessList list;
  at.with("status", [&](const JsonCursor& status) { list.status = readInt32(status); });
  at.with("missing", [&](const JsonCursor& missing) { list.missing = missing.nonEmptyString(); });
  at.with("members", [&](const JsonCursor& members) {
    members.forEachElement([&](const JsonCursor& member) {
      if (member.isInteger()) {
        list.members.emplace_back(readID(member));
      } else if (parseUUID(member.string())) {
        list.members.emplace_back(member.string());
      } else {
        member.fail("expected a GUID or a user id");
      }
    });
  });
  return list;
}

LoginLimit readLimit(const JsonCursor& at) {
  at.object({"allowed", "result", "nextCurfew"});
  LoginLimit limit;
  at.with("allowed", [&](const JsonCursor& allowed) { limit.allowed = allowed.boolean(); });
  at.with("result", [&](const JsonCursor& result) { limit.result = readInt32(result); });
  at.with("nextCurfew", [&](const JsonCursor& curfew) {
    if (!curfew.isNull()) limit.nextCurfew = readDate(curfew);
  });
  return limit;
}

void forEachUserID(const JsonCursor& section,
                   const std::function<void(std::uint32_t, const JsonCursor&)>& function) {
  section.forEachMember([&](const std::string& key, const JsonCursor& at) {
    const auto userID = idFromText(key);
    if (!userID || std::to_string(*userID) != key) at.fail("\"" + key + "\" is no user id");
    function(*userID, at);
  });
}

void readSessions(const JsonCursor& section, WorldSessions& sessions) {
  section.object({"current", "list"});
  WorldSessions::List list;
  section.with("list", [&](const JsonCursor& at) {
    if (at.isNull()) return sessions.setList(std::nullopt);
    at.forEachElement([&](const JsonCursor& entry) {
      list.push_back(entry.isNull() ? std::nullopt : std::optional(readSession(entry)));
    });
    sessions.setList(list);
  });
  section.with("current", [&](const JsonCursor& current) {
    if (current.isNull()) return;
    if (current.isObject()) return sessions.setCurrent(readSession(current));
    const auto id = current.integer();
    for (const auto& session : list) {
      if (session && session->id == id) return sessions.setCurrent(id);
    }
    current.fail("no session of the list has the id " + std::to_string(id));
  });
}

}  // namespace gatehall
