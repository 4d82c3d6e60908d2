#include <array>

#include "gatehall/platform/NotificationNames.h"
#include "world/file/Values.h"
#include "world/file/WorldFile.h"
#include "world/script/Events.h"

namespace gatehall::scriptEvents {

namespace {

/// Each member of the section by its key and with its value; absent where it is null.
template <class Read>
auto readMembers(const JsonCursor& section, Read read) {
  using Content = decltype(read(section));
  std::vector<std::pair<std::string, std::optional<Content>>> members;
  section.forEachMember([&](const std::string& key, const JsonCursor& at) {
    members.emplace_back(key, at.isNull() ? std::nullopt : std::optional<Content>(read(at)));
  });
  return members;
}

std::string names(const auto& members) {
  std::string text;
  for (const auto& [name, ignored] : members) text += (text.empty() ? "" : ", ") + name;
  return text;
}

void postRefresh(World& world) {
  world.distributedNotificationCenter().post(kRefreshUserListNotification);
}

/// Preferences are set and, by null, removed one by one.
Event readPreferences(const JsonCursor& section) {
  using Scope = WorldPreferences::Scope;
  using Settings = std::vector<std::pair<std::string, std::optional<Value>>>;
  struct Change {
    std::string domain;
    Scope scope;
    Settings settings;
  };
  std::vector<Change> changes;
  std::string subject;
  section.forEachMember([&](const std::string& domain, const JsonCursor& scopes) {
    scopes.object({"user", "system"});
    subject += (subject.empty() ? "" : ", ") + domain;
    for (const auto& [key, scope] :
         {std::pair("user", Scope::User), std::pair("system", Scope::System)}) {
      const auto at = scopes.find(key);
      if (at) changes.push_back({domain, scope, readMembers(*at, readValue)});
    }
  });
  return {subject, [changes](World& world) {
            for (const auto& [domain, scope, settings] : changes) {
              for (const auto& [key, value] : settings) {
                if (value) {
                  world.preferences().setValue(scope, domain, key, *value);
                } else {
                  world.preferences().removeValue(scope, domain, key);
                }
              }
            }
            postRefresh(world);
          }};
}

/// A managed file is replaced as a whole.
Event readManaged(const JsonCursor& section) {
  const auto files = readMembers(section, readValue);
  return {names(files), [files](World& world) {
            for (const auto& [domain, content] : files) {
              const auto path = WorldPropertyLists::managedPath(domain);
              if (content) {
                world.propertyLists().setFile(path, *content);
              } else {
                world.propertyLists().removeFile(path);
              }
            }
            postRefresh(world);
          }};
}

void postControls(World& world, std::uint32_t userID) {
  const auto name = world.directory().nameOfUser(userID);
  if (!name) return;
  world.distributedNotificationCenter().post(
      kKinwatchLoginStatusChangedNotification,
      Dictionary{{std::string(kKinwatchUserNameKey), *name}});
}

Event readParentalControls(const JsonCursor& section) {
  std::vector<std::pair<std::uint32_t, std::optional<LoginLimit>>> limits;
  std::string subject;
  forEachUserID(section, [&](std::uint32_t userID, const JsonCursor& at) {
    limits.emplace_back(userID, at.isNull() ? std::nullopt : std::optional(readLimit(at)));
    subject += (subject.empty() ? "" : ", ") + std::to_string(userID);
  });
  return {subject, [limits](World& world) {
            for (const auto& [userID, limit] : limits) {
              if (limit) {
                world.parentalControls().setLimit(userID, *limit);
              } else {
                world.parentalControls().removeLimit(userID);
              }
              postControls(world, userID);
            }
          }};
}

/// A service's access list is a group of the machine.
Event readMembership(const JsonCursor& section) {
  const auto lists = readMembers(section, readAccessList);
  return {names(lists), [lists](World& world) {
            for (const auto& [service, list] : lists) {
              if (list) {
                world.membership().setAccessList(service, *list);
              } else {
                world.membership().removeAccessList(service);
              }
            }
            world.systemNotifications().post(kLocalGroupsChangedNotification);
          }};
}

constexpr std::array kKinds = {
    Kind{"preferences", readPreferences},
    Kind{"managed", readManaged},
    Kind{"parentalControls", readParentalControls},
    Kind{"membership", readMembership},
};

}  // namespace

std::span<const Kind> ofSettings() { return kKinds; }

}  // namespace gatehall::scriptEvents
