#include "ctl/export/DirectorySection.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "ctl/export/RecordEntry.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ctl {

namespace {

constexpr std::string_view kAccessGroup = "gatehall-access";
constexpr std::string_view kAdminGroup = "admin";

using Setups = std::map<std::string, NodeSetup, std::less<>>;

NodeSetup setupOf(NetworkNode& node) {
  using WhenAway = NodeSetup::WhenAway;
  NodeSetup setup;
  if (auto tls = node.tls(); !tls.empty()) setup.tls = std::move(tls);
  setup.whenAway = node.isIgnoredWhenAway() ? WhenAway::Ignore : WhenAway::Refuse;
  try {
    setup.server = node.reach().server;
  } catch (const PlatformException& failure) {
    setup.away = node.whyUnreachable().value_or(failure.what());
  }
  return setup;
}

/// Of the network's nodes, by name.
Setups setupsOf(const Host& host, const Strings& covered) {
  Setups setups;
  for (const auto& node : host.networkNodes()) {
    setups.emplace(node->nodeName().value_or(""), setupOf(*node));
  }
  if (host.world() == nullptr) return setups;
  for (const auto& name : covered) {
    if (auto setup = host.world()->directory().setup(name)) setups.emplace(name, std::move(*setup));
  }
  return setups;
}

void addSetup(const NodeSetup& setup, Json& node) {
  using WhenAway = NodeSetup::WhenAway;
  if (setup.server) node["server"] = *setup.server;
  if (setup.tls) node["tls"] = *setup.tls;
  if (setup.whenAway != WhenAway::Absent) {
    node["whenAway"] = setup.whenAway == WhenAway::Ignore ? "ignore" : "refuse";
  }
  if (setup.away) node["away"] = *setup.away;
}

bool isNamed(DirectoryRecord& group, std::string_view name) {
  const auto names = valuesOf(group, attribute::RecordName);
  return std::ranges::find(names, name) != names.end();
}

class Section {
 public:
  Section(const Host& host, Platform& machine, Gathered& gathered)
      : mHost(host), mMachine(machine), mGathered(gathered) {}

  DirectorySection make(Seeds seeds, Extent extent) {
    mSession = mMachine.directory().defaultSession();
    if (!mSession) {
      mResult.json["available"] = false;
      return std::move(mResult);
    }
    const auto local = mSession->nodeByType(NodeType::Local);
    const auto localName = local ? local->nodeName() : std::nullopt;
    mResult.json["localNode"] = localName ? Json(*localName) : Json();
    openNodes(local, localName);
    for (auto& place : mOwn) {
      fetchAll(place, mGathered);
      addAdministrators(place);
      for (const auto& group : place.groups) {
        if (isNamed(*group, kAdminGroup)) seeds.addMembersOf(*group);
      }
    }
    seeds.groupNames.insert(std::string(kAccessGroup));
    if (extent == Extent::All) {
      for (auto& place : mNetwork) fetchAll(place, mGathered);
    } else if (!mNetwork.empty()) {
      fetchReached(mNetwork, mOwn, std::move(seeds), mGathered);
      mGathered.note(
          "Network accounts and groups are there as far as lists, groups and sessions "
          "reach; --all brings the others");
    }
    if (!mHost.networkNodes().empty()) {
      mGathered.note(
          "Entries of network directories that are no accounts here are left out: in the world "
          "there is no such account, where the machine says why");
    }
    writeNodes();
    return std::move(mResult);
  }

 private:
  void openNodes(const std::shared_ptr<DirectoryNode>& local,
                 const std::optional<std::string>& localName) {
    const auto search = mSession->nodeByType(NodeType::Search);
    if (!search) {
      mResult.json["searchNode"] = nullptr;
      if (local) addPlace(mOwn, *localName, local);
      return;
    }
    mCovered = search->subnodeNames().value_or(Strings());
    const auto unreachable = search->unreachableSubnodeNames().value_or(Strings());
    auto& json = mResult.json["searchNode"];
    json["name"] = search->nodeName().value_or("search");
    json["covers"] = mCovered;
    if (!unreachable.empty()) json["unreachable"] = unreachable;
    const bool isLocalFirst = mHost.world() == nullptr || mHost.world()->directory().isLocalFirst();
    if (isLocalFirst) json["localFirst"] = true;
    mSetups = setupsOf(mHost, mCovered);
    for (std::size_t place = 0; place < mCovered.size(); ++place) {
      const auto& name = mCovered[place];
      auto node = std::ranges::find(unreachable, name) == unreachable.end()
                      ? mSession->nodeByName(name)
                      : nullptr;
      addPlace(place < kFirstNetworkNode ? mOwn : mNetwork, name, std::move(node));
    }
    if (local && std::ranges::find(mCovered, *localName) == mCovered.end()) {
      addPlace(mOwn, *localName, local);
    }
  }

  /// One that can't be asked is named only.
  void addPlace(std::vector<NodeRecords>& places, const std::string& name,
                std::shared_ptr<DirectoryNode> node) {
    if (std::ranges::find(mNames, name) != mNames.end()) return;
    mNames.push_back(name);
    if (node) {
      places.push_back({std::move(node)});
    } else if (const auto setup = mSetups.find(name);
               setup != mSetups.end() && setup->second.whenAway == NodeSetup::WhenAway::Refuse) {
      mResult.missing = setup->second.away.value_or("");
    }
  }

  /// The local node may make them up from what it has, and not list them.
  static void addAdministrators(NodeRecords& place) {
    const bool isThere = std::ranges::any_of(
        place.groups, [](const auto& group) { return isNamed(*group, kAdminGroup); });
    if (isThere) return;
    try {
      if (auto group = place.node->recordByTypeAndName(record::Groups, kAdminGroup, {})) {
        place.groups.push_back(std::move(group));
      }
    } catch (const PlatformException&) {
      return;  // what is wrong was told when all were asked for
    }
  }

  void writeNodes() {
    std::map<std::string, const NodeRecords*> places;
    for (const auto* list : {&mOwn, &mNetwork}) {
      for (const auto& place : *list) places[place.node->nodeName().value_or("")] = &place;
    }
    auto& nodes = mResult.json["nodes"] = Json::array();
    for (const auto& name : mNames) {
      Json node = {{"name", name}};
      if (const auto setup = mSetups.find(name); setup != mSetups.end()) {
        addSetup(setup->second, node);
      }
      if (const auto place = places.find(name); place != places.end()) {
        auto records = recordsOf(*place->second);
        // A record that says nothing else is of the node that it stands in.
        for (auto& record : records) {
          auto& attributes = record["attributes"];
          const std::string kind(attribute::MetaNodeLocation);
          if (attributes.contains(kind) && attributes[kind] == name) attributes.erase(kind);
        }
        if (!records.empty()) node["records"] = std::move(records);
      }
      nodes.push_back(std::move(node));
    }
  }

  Json recordsOf(const NodeRecords& place) {
    auto records = Json::array();
    for (const auto& user : place.users) {
      records.push_back(recordEntry(*user, {}, mGathered));
      for (const auto& text : valuesOf(*user, attribute::UniqueID)) {
        std::uint32_t userID = 0;
        const auto* end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, userID);
        if (error == std::errc() && stop == end) mResult.userIDs.insert(userID);
      }
    }
    for (const auto& group : place.groups) {
      records.push_back(recordEntry(*group, place.users, mGathered));
      if (!isNamed(*group, kAccessGroup)) continue;
      const auto guid = valuesOf(*group, attribute::GUID);
      if (!guid.empty()) mResult.accessGroups.push_back(guid.front());
    }
    return records;
  }

  const Host& mHost;
  Platform& mMachine;
  Gathered& mGathered;
  std::shared_ptr<DirectorySession> mSession;
  DirectorySection mResult;
  Strings mCovered;
  Strings mNames;  ///< of the nodes, in their order
  Setups mSetups;
  std::vector<NodeRecords> mOwn;
  std::vector<NodeRecords> mNetwork;
};

}  // namespace

DirectorySection directorySection(const Host& host, Platform& machine, Seeds seeds, Extent extent,
                                  Gathered& gathered) {
  return Section(host, machine, gathered).make(std::move(seeds), extent);
}

}  // namespace gatehall::ctl
