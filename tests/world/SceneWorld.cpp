#include "tests/world/SceneWorld.h"

#include <string>

#include "gatehall/platform/AttributeKinds.h"
#include "tests/platform/contracts/Scene.h"

namespace gatehall {

namespace {

std::string guid(std::string_view start, std::uint32_t number) {
  auto digits = std::to_string(number);
  digits.insert(0, 12 - digits.size(), '0');
  std::string text(start);
  text += "-0000-4000-8000-";
  return text += digits;
}

RecordDescription describe(const contracts::Account& account) {
  return {"Users",
          {{"RecordName", {account.name}},
           {"UniqueID", {std::to_string(account.userID)}},
           {"PrimaryGroupID", {std::to_string(account.groupID)}},
           {"FullName", {account.fullName}},
           {"NFSHomeDirectory", {account.home}},
           {"UserShell", {account.shell}},
           {"GUID", {guid("00000001", account.userID)}}},
          account.password,
          {}};
}

RecordDescription describe(const contracts::Group& group) {
  Strings members;
  for (const auto* member : group.members) {
    if (member != nullptr) members.emplace_back(member);
  }
  return {"Groups",
          {{"RecordName", {group.name}},
           {"PrimaryGroupID", {std::to_string(group.groupID)}},
           {"GroupMembership", members},
           {"GUID", {guid("00000002", group.groupID)}}},
          {},
          {}};
}

}  // namespace

std::shared_ptr<World> sceneWorld() {
  auto world = std::make_shared<World>();
  auto& directory = world->directory();
  const auto local = directory.addNode("local");
  directory.addNode("unix");
  directory.setLocalNode("local");
  directory.setSearchNode("search", {"local", "unix"});
  for (const auto& account : contracts::kAccounts) local->addRecord(describe(account));
  for (const auto& group : contracts::kGroups) local->addRecord(describe(group));
  return world;
}

}  // namespace gatehall
