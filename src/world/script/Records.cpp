#include <algorithm>
#include <array>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/NotificationNames.h"
#include "world/file/WorldFile.h"
#include "world/script/Events.h"

namespace gatehall::scriptEvents {

namespace {

constexpr std::string_view kDisabledUser = "DisabledUser";

/// Where the records are that an event is about.
struct Place {
  std::optional<std::string> node;  ///< none: the local node
  std::string inScript;             ///< for errors
};

Place readPlace(const JsonCursor& at) {
  const auto node = at.find("node");
  return {node ? std::optional(node->nonEmptyString()) : std::nullopt, at.place()};
}

std::string nodeName(World& world, const Place& place) {
  const auto local = world.directory().localNodeName();
  if (place.node || local) return place.node.value_or(local.value_or(""));
  throw WorldError(place.inScript + ": there is no local node; say which \"node\"");
}

std::shared_ptr<WorldNode> nodeOf(World& world, const Place& place) {
  return at(place.inScript, [&] { return world.directory().node(nodeName(world, place)); });
}

std::shared_ptr<WorldRecord> recordOf(World& world, const Place& place, std::string_view type,
                                      const std::string& name) {
  const auto node = nodeOf(world, place);
  return at(place.inScript, [&] { return node->record(type, name); });
}

/// A machine hears of changed accounts of its own; a network directory tells nobody.
bool isHeardOf(World& world, const Place& place) {
  return nodeName(world, place) == world.directory().localNodeName();
}

void postGroups(World& world, const Place& place) {
  if (isHeardOf(world, place)) world.systemNotifications().post(kLocalGroupsChangedNotification);
}

void postUser(World& world, const Place& place, std::string_view name,
              std::optional<Dictionary> userInfo = std::nullopt) {
  if (isHeardOf(world, place)) {
    world.distributedNotificationCenter().post(name, std::move(userInfo));
  }
}

std::string readName(const JsonCursor& at, std::string_view key) {
  const auto name = at.find(key);
  if (!name) at.fail("the event needs a \"" + std::string(key) + "\"");
  return name->nonEmptyString();
}

std::string firstName(const RecordDescription& description) {
  for (const auto& [kind, values] : description.attributes) {
    if (kind == attribute::RecordName && !values.empty()) return values.front();
  }
  return {};
}

Event readAddition(const JsonCursor& at, std::string_view type,
                   void (*post)(World& world, const Place& place)) {
  at.object({"node", "type", "attributes", "password", "policy"});
  RecordDescription description;
  description.type = type;
  if (const auto given = at.find("type"); given && given->string() != type) {
    given->fail("expected \"" + description.type + "\"");
  }
  readRecordContents(at, description);
  return {firstName(description), [=, place = readPlace(at)](World& world) {
            nodeOf(world, place)->addRecord(description);
            post(world, place);
          }};
}

Event readRemoval(const JsonCursor& at, std::string_view type,
                  void (*post)(World& world, const Place& place)) {
  at.object({"node", "name"});
  const auto name = readName(at, "name");
  return {name, [=, place = readPlace(at)](World& world) {
            recordOf(world, place, type, name)->remove();
            post(world, place);
          }};
}

struct Change {
  std::function<void(WorldRecord&)> make;
  bool isOfWhatIsShown = false;  ///< part of it is what a login screen shows of an account
  bool isOfMore = false;
};

bool isShown(std::string_view kind) {
  return kind == attribute::FullName || kind == attribute::Picture ||
         kind == attribute::AuthenticationHint;
}

Change readChange(const JsonCursor& at) {
  std::vector<std::function<void(WorldRecord&)>> changes;
  Change whole;
  if (const auto attributes = at.find("attributes")) {
    forEachAttribute(*attributes, [&](const std::string& kind, const JsonCursor& values) {
      (isShown(kind) ? whole.isOfWhatIsShown : whole.isOfMore) = true;
      if (values.isNull()) {
        changes.emplace_back([kind](WorldRecord& record) { record.removeAttribute(kind); });
      } else {
        changes.emplace_back([kind, read = readAttributeValues(kind, values)](WorldRecord& record) {
          record.setValues(kind, read);
        });
      }
    });
  }
  if (const auto password = at.find("password")) {
    const auto accepted = password->isNull() ? std::nullopt : std::optional(password->string());
    changes.emplace_back([accepted](WorldRecord& record) { record.setPassword(accepted); });
  }
  if (const auto policy = at.find("policy")) {
    const auto rules = policy->isNull() ? std::nullopt : std::optional(readPolicy(*policy));
    changes.emplace_back([rules](WorldRecord& record) { record.setPolicy(rules); });
  }
  whole.isOfMore = whole.isOfMore || at.find("password") || at.find("policy");
  whole.make = [changes](WorldRecord& record) {
    for (const auto& change : changes) change(record);
  };
  return whole;
}

bool isDisabled(WorldRecord& user) {
  const auto authorities = user.valuesForAttribute(attribute::AuthenticationAuthority);
  return authorities && std::ranges::any_of(*authorities, [](const std::string& each) {
           return each.find(kDisabledUser) != std::string::npos;
         });
}

/// Whether an account is enabled is told by names of its own, and what is shown of it as the full
/// name is; of the rest a host knows only that the account files changed.
Event readUserChange(const JsonCursor& at) {
  at.object({"node", "name", "attributes", "password", "policy"});
  const auto name = readName(at, "name");
  return {name, [=, place = readPlace(at), change = readChange(at)](World& world) {
            const auto user = recordOf(world, place, record::Users, name);
            const bool wasDisabled = isDisabled(*user);
            change.make(*user);
            if (isDisabled(*user) != wasDisabled) {
              return postUser(
                  world, place,
                  wasDisabled ? kUserWasEnabledNotification : kUserWasDisabledNotification);
            }
            if (change.isOfMore) postUser(world, place, kRefreshUserListNotification);
            if (!change.isOfWhatIsShown) return;
            const auto guids = user->valuesForAttribute(attribute::GUID).value_or(Strings());
            Dictionary userInfo;
            if (!guids.empty()) userInfo.emplace(kGeneratedUIDKey, guids.front());
            postUser(world, place, kFullUserNameDidChangeNotification, userInfo);
          }};
}

Event readGroupChange(const JsonCursor& at) {
  at.object({"node", "name", "attributes"});
  const auto name = readName(at, "name");
  return {name, [=, place = readPlace(at), change = readChange(at)](World& world) {
            change.make(*recordOf(world, place, record::Groups, name));
            postGroups(world, place);
          }};
}

Event readMembership(const JsonCursor& at, void (*change)(Strings& members, std::string member)) {
  at.object({"node", "group", "name"});
  const auto name = readName(at, "name");
  const auto group = readName(at, "group");
  return {name + ", " + group, [=, place = readPlace(at)](World& world) {
            const auto found = recordOf(world, place, record::Groups, group);
            auto members =
                found->valuesForAttribute(attribute::GroupMembership).value_or(Strings());
            change(members, name);
            found->setValues(attribute::GroupMembership, std::move(members));
            postGroups(world, place);
          }};
}

constexpr std::array kKinds = {
    Kind{"addUser",
         [](const JsonCursor& at) {
           return readAddition(at, record::Users, [](World& world, const Place& place) {
             postUser(world, place, kUserWasAddedNotification);
           });
         }},
    Kind{"changeUser", readUserChange},
    Kind{"removeUser",
         [](const JsonCursor& at) {
           return readRemoval(at, record::Users, [](World& world, const Place& place) {
             postUser(world, place, kUserWasRemovedNotification);
           });
         }},
    Kind{"addGroup",
         [](const JsonCursor& at) { return readAddition(at, record::Groups, postGroups); }},
    Kind{"changeGroup", readGroupChange},
    Kind{"removeGroup",
         [](const JsonCursor& at) { return readRemoval(at, record::Groups, postGroups); }},
    Kind{"addMember",
         [](const JsonCursor& at) {
           return readMembership(at, [](Strings& members, std::string member) {
             std::erase(members, member);
             members.push_back(std::move(member));
           });
         }},
    Kind{"removeMember",
         [](const JsonCursor& at) {
           return readMembership(
               at, [](Strings& members, std::string member) { std::erase(members, member); });
         }},
};

}  // namespace

std::span<const Kind> ofRecords() { return kKinds; }

}  // namespace gatehall::scriptEvents
