#include "ctl/request/Overlay.h"

#include <stdexcept>
#include <string_view>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/preferences/SettingsFiles.h"
#include "portable/NameBasedUUID.h"
#include "portable/formats/PropertyList.h"

namespace gatehall::ctl {

namespace {

/// A group of that name and this ending is a service's access list.
constexpr std::string_view kAccessEnding = "-access";

Dictionary settingsOf(const std::string& content) {
  const auto list = parsePropertyList(content);
  const auto* settings = list.dictionary();
  return settings != nullptr ? *settings : Dictionary();
}

void setManaged(const std::optional<std::string>& content, World& world) {
  const auto path = WorldPropertyLists::managedPath(kLoginScreenDomain);
  if (content) {
    world.propertyLists().setFile(path, settingsOf(*content));
  } else {
    world.propertyLists().removeFile(path);
  }
}

/// The first node that has the group, else the local one.
std::shared_ptr<WorldNode> nodeOf(const std::string& group, WorldDirectory& directory) {
  const auto session = directory.defaultSession();
  const auto search = session ? session->nodeByType(NodeType::Search) : nullptr;
  const auto names = search ? search->subnodeNames() : std::nullopt;
  for (const auto& name : names.value_or(Strings())) {
    const auto node = session->nodeByName(name);
    if (node && node->recordByTypeAndName(record::Groups, group, {})) return directory.node(name);
  }
  const auto local = directory.localNodeName();
  if (!local) throw std::out_of_range("no local node");
  return directory.node(*local);
}

std::shared_ptr<WorldRecord> groupIn(WorldNode& node, const std::string& name) {
  if (node.recordByTypeAndName(record::Groups, name, {})) return node.record(record::Groups, name);
  // Any constant would do: it only has to be no machine's id.
  constexpr UUIDBytes kNewGroups{0x7e, 0x02, 0x4c, 0x19, 0xa5, 0xd3, 0x4b, 0x6a,
                                 0x90, 0x3f, 0x61, 0xc8, 0x2d, 0x57, 0xee, 0x84};
  const auto guid = uuidText(nameBasedUUID(kNewGroups, name));
  return node.addRecord({.type = std::string(record::Groups),
                         .attributes = {{std::string(attribute::RecordName), {name}},
                                        {std::string(attribute::GUID), {guid}}},
                         .password = {},
                         .policy = {}});
}

void setMembers(const std::string& name, const Strings& members, World& world) {
  const auto node = nodeOf(name, world.directory());
  const auto group = groupIn(*node, name);
  for (const auto kind : {attribute::GroupMembers, attribute::NestedGroups}) {
    group->removeAttribute(kind);
  }
  group->setValues(attribute::GroupMembership, members);
  if (!name.ends_with(kAccessEnding)) return;
  const auto guids = group->valuesForAttribute(attribute::GUID).value_or(Strings());
  AccessList list;
  for (const auto& guid : guids) list.members.emplace_back(guid);
  const auto service = name.substr(0, name.size() - kAccessEnding.size());
  world.membership().setAccessList(service, std::move(list));
}

}  // namespace

void layOver(const Overlay& overlay, HostOptions& options) {
  for (const auto& [path, content] : overlay.files) {
    options.rehearsed.insert_or_assign(path, content);
  }
}

void layOver(const Overlay& overlay, World& world) {
  for (const auto& [path, content] : overlay.files) {
    if (path == machinePreferencesFile(kLoginScreenDomain)) {
      world.preferences().setSettings(WorldPreferences::Scope::System, kLoginScreenDomain,
                                      content ? settingsOf(*content) : Dictionary());
    } else {
      setManaged(content, world);
    }
  }
  for (const auto& [name, members] : overlay.groups) setMembers(name, members, world);
}

}  // namespace gatehall::ctl
