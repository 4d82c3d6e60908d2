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
  if (const auto at = section.find("effectiveUserID")) process.setEffectiveUserID(readID(*at));
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
      const auto at = settings.find(key);
      if (at) preferences.setSettings(scope, domain, readDictionary(*at));
    }
  });
}

void readManaged(const JsonCursor& section, WorldPropertyLists& files) {
  section.forEachMember([&](const std::string& domain, const JsonCursor& content) {
    files.setFile(WorldPropertyLists::managedPath(domain), readValue(content));
  });
}

/// Puts what a world file describes into an empty world.
void readWorld(const JsonSource& source, World& world) {
  const auto tree = parseJson(source);
  const JsonCursor root(source, tree);
  root.object({"now", "process", "directory", "sessions", "membership", "parentalControls",
               "preferences", "managed", "faults"});
  if (const auto at = root.find("now")) world.clock().set(readDate(*at));
  if (const auto at = root.find("process")) readProcess(*at, world.process());
  if (const auto at = root.find("directory")) readDirectory(*at, world.directory());
  if (const auto at = root.find("sessions")) readSessions(*at, world.sessions());
  if (const auto at = root.find("membership")) readMembership(*at, world.membership());
  if (const auto at = root.find("parentalControls")) {
    readParentalControls(*at, world.parentalControls());
  }
  if (const auto at = root.find("preferences")) readPreferences(*at, world.preferences());
  if (const auto at = root.find("managed")) readManaged(*at, world.propertyLists());
  if (const auto at = root.find("faults")) world.setFaults(readFaults(*at));
}

}  // namespace

std::shared_ptr<World> worldFromFile(const std::filesystem::path& path) {
  return worldFromText(readTextFile(path), path.string());
}

std::shared_ptr<World> worldFromText(std::string_view json, std::string nameForErrors) {
  auto world = std::make_shared<World>();
  readWorld({std::move(nameForErrors), json}, *world);
  return world;
}

WorldSession readSession(const JsonCursor& at) {
  at.object({"id", "userID", "userName", "loginDone"});
  WorldSession session;
  if (const auto id = at.find("id")) session.id = id->integer();
  if (const auto userID = at.find("userID")) session.userID = readInt32(*userID);
  if (const auto name = at.find("userName")) session.userName = name->string();
  if (const auto done = at.find("loginDone")) session.loginDone = done->boolean();
  return session;
}

AccessList readAccessList(const JsonCursor& at) {
  at.object({"members", "status"});
  AccessList list;
  if (const auto status = at.find("status")) list.status = readInt32(*status);
  const auto members = at.find("members");
  if (!members) return list;
  members->forEachElement([&](const JsonCursor& member) {
    if (member.isInteger()) {
      list.members.emplace_back(readID(member));
    } else if (parseUUID(member.string())) {
      list.members.emplace_back(member.string());
    } else {
      member.fail("expected a GUID or a user id");
    }
  });
  return list;
}

LoginLimit readLimit(const JsonCursor& at) {
  at.object({"allowed", "result", "nextCurfew"});
  LoginLimit limit;
  if (const auto allowed = at.find("allowed")) limit.allowed = allowed->boolean();
  if (const auto result = at.find("result")) limit.result = readInt32(*result);
  if (const auto curfew = at.find("nextCurfew"); curfew && !curfew->isNull()) {
    limit.nextCurfew = readDate(*curfew);
  }
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
  if (const auto at = section.find("list"); at && at->isNull()) {
    sessions.setList(std::nullopt);
  } else if (at) {
    at->forEachElement([&](const JsonCursor& entry) {
      list.push_back(entry.isNull() ? std::nullopt : std::optional(readSession(entry)));
    });
    sessions.setList(list);
  }
  const auto current = section.find("current");
  if (!current || current->isNull()) return;
  if (current->isObject()) return sessions.setCurrent(readSession(*current));
  const auto id = current->integer();
  for (const auto& session : list) {
    if (session && session->id == id) return sessions.setCurrent(id);
  }
  current->fail("no session of the list has the id " + std::to_string(id));
}

}  // namespace gatehall
