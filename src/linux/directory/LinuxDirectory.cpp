#include "linux/directory/LinuxDirectory.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/directory/SearchNode.h"
#include "linux/ldap/Node.h"
#include "linux/local/Node.h"
#include "linux/nss/Node.h"
#include "linux/records/EmptyNode.h"
#include "linux/records/FaultyNode.h"

namespace gatehall {

namespace {

class LinuxDirectorySession final : public DirectorySession {
 public:
  LinuxDirectorySession(const std::shared_ptr<local::Host>& host,
                        std::vector<std::shared_ptr<NetworkNode>> networkNodes, Log& log)
      : mLocal(std::make_shared<local::Node>(host)),
        mUnix(std::make_shared<EmptyNode>("unix")),
        mNetworkNodes(std::move(networkNodes)),
        mSearch(std::make_shared<SearchNode>(
            std::vector<std::shared_ptr<DirectoryNode>>{mLocal, mUnix}, mNetworkNodes, log)) {
    if (mNetworkNodes.empty()) return;
    host->usersOfPrimaryGroups = [search = std::weak_ptr(mSearch)](const Strings& groupIDs) {
      return usersOf(search.lock(), groupIDs);
    };
  }

  std::shared_ptr<DirectoryNode> nodeByType(NodeType type) override {
    switch (type) {
      case NodeType::Local:
        return mLocal;
      case NodeType::Search:
        return mSearch;
    }
    return nullptr;
  }

  std::shared_ptr<DirectoryNode> nodeByName(std::string_view name) override {
    for (const auto& node : {mLocal, mUnix, mSearch}) {
      if (node->nodeName() == name) return node;
    }
    for (const auto& node : mNetworkNodes) {
      if (node->nodeName() == name) return node->whyUnreachable() ? nullptr : node;
    }
    return nullptr;
  }

 private:
  using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

  static Records usersOf(const std::shared_ptr<DirectoryNode>& search, const Strings& groupIDs) {
    // A record may outlive its directory.
    auto users =
        search ? search
                     ->query({{std::string(record::Users)},
                              std::string(attribute::PrimaryGroupID),
                              MatchType::EqualTo,
                              groupIDs,
                              {std::string(attribute::RecordName), std::string(attribute::GUID)},
                              0})
                     ->results(false)
               : std::nullopt;
    if (!users) throw PlatformException("the users of a primary group can't be told");
    return std::move(*users);
  }

  std::shared_ptr<DirectoryNode> mLocal;
  std::shared_ptr<DirectoryNode> mUnix;
  std::vector<std::shared_ptr<NetworkNode>> mNetworkNodes;
  std::shared_ptr<DirectoryNode> mSearch;
};

/// A node, and the line of its table.
struct ConfiguredNode {
  std::uint64_t line;
  std::shared_ptr<NetworkNode> node;
};

void addLdapNodes(std::vector<ConfiguredNode>& nodes, const std::shared_ptr<local::Host>& host,
                  Log& log) {
  const auto mappedDomains = std::make_shared<ldap::MappedDomains>();
  for (auto& configured : ldap::Settings::readAll(host->options, host->faults)) {
    if (auto* unusable = std::get_if<ldap::Settings::Unusable>(&configured)) {
      nodes.push_back({unusable->line, std::make_shared<FaultyNode>(std::move(unusable->place),
                                                                    std::move(unusable->fault))});
      continue;
    }
    auto& settings = std::get<ldap::Settings>(configured);
    const auto line = settings.line;
    nodes.push_back(
        {line, std::make_shared<ldap::Node>(std::make_shared<ldap::Directory>(
                   std::move(settings), host->options,
                   std::shared_ptr<LocalAccounts>(host, &host->ownAccounts), mappedDomains,
                   std::shared_ptr<FaultLog>(host, &host->faults), log, host->clock))});
  }
}

void addNameServiceNodes(std::vector<ConfiguredNode>& nodes,
                         const std::shared_ptr<local::Host>& host, Log& log) {
  auto all = nss::Settings::readAll(host->options, host->faults);
  Strings names;
  for (const auto& configured : all) {
    const auto* settings = std::get_if<nss::Settings>(&configured);
    if (settings != nullptr) names.push_back("nss/" + settings->name);
  }
  const auto guids = std::make_shared<nss::GUIDs>(std::move(names));
  for (auto& configured : all) {
    if (auto* unusable = std::get_if<nss::Settings::Unusable>(&configured)) {
      nodes.push_back({unusable->line, std::make_shared<FaultyNode>(std::move(unusable->place),
                                                                    std::move(unusable->fault))});
      continue;
    }
    auto& settings = std::get<nss::Settings>(configured);
    const auto line = settings.line;
    nodes.push_back(
        {line, std::make_shared<nss::Node>(std::make_shared<nss::Directory>(
                   std::move(settings), host->options,
                   std::shared_ptr<LocalAccounts>(host, &host->ownAccounts),
                   std::shared_ptr<FaultLog>(host, &host->faults), guids, log, host->clock))});
  }
}

std::vector<std::shared_ptr<NetworkNode>> configuredNodes(const std::shared_ptr<local::Host>& host,
                                                          Log& log) {
  std::vector<ConfiguredNode> configured;
  addLdapNodes(configured, host, log);
  addNameServiceNodes(configured, host, log);
  std::ranges::stable_sort(configured, {}, &ConfiguredNode::line);
  std::vector<std::shared_ptr<NetworkNode>> nodes;
  nodes.reserve(configured.size());
  for (auto& each : configured) nodes.push_back(std::move(each.node));
  return nodes;
}

}  // namespace

LinuxDirectory::LinuxDirectory(HostOptions options, Log& log, Clock& clock) {
  auto host = std::make_shared<local::Host>(std::move(options), log, clock);
  mNetworkNodes = configuredNodes(host, log);
  mSession = std::make_shared<LinuxDirectorySession>(std::move(host), mNetworkNodes, log);
}

LinuxDirectory::LinuxDirectory(HostOptions options, Log& log, Clock& clock,
                               std::vector<std::shared_ptr<NetworkNode>> networkNodes)
    : mNetworkNodes(std::move(networkNodes)),
      mSession(std::make_shared<LinuxDirectorySession>(
          std::make_shared<local::Host>(std::move(options), log, clock), mNetworkNodes, log)) {}

std::shared_ptr<DirectorySession> LinuxDirectory::defaultSession() { return mSession; }

void LinuxDirectory::forgetFetched() {
  for (const auto& node : mNetworkNodes) node->forgetFetched();
}

}  // namespace gatehall
