#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <future>
#include <map>
#include <optional>
#include <utility>

#include "ctl/verbs/Verbs.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ctl {

namespace {

/// What a network node says about itself: where it was reached, or why it wasn't, and how it is set
/// up.
struct Attempt {
  std::optional<NetworkNode::Reached> reached;
  std::string error;
  std::optional<std::string> tls;
  std::optional<std::string> whenAway;
};

Attempt attemptAt(NetworkNode& node) {
  Attempt attempt;
  if (auto tls = node.tls(); !tls.empty()) attempt.tls = std::move(tls);
  attempt.whenAway = node.isIgnoredWhenAway() ? "ignore" : "refuse";
  try {
    attempt.reached = node.reach();
  } catch (const PlatformException& failure) {
    attempt.error = failure.what();
  }
  return attempt;
}

/// What a world says of it.
Attempt attemptIn(const NodeSetup& setup) {
  using WhenAway = NodeSetup::WhenAway;
  Attempt attempt{.reached = std::nullopt,
                  .error = setup.away.value_or(""),
                  .tls = setup.tls,
                  .whenAway = std::nullopt};
  if (setup.server) attempt.reached = {.server = *setup.server, .roundTrip = {}};
  if (setup.whenAway != WhenAway::Absent) {
    attempt.whenAway = setup.whenAway == WhenAway::Ignore ? "ignore" : "refuse";
  }
  return attempt;
}

/// Of the host's network nodes, by name; a machine's are all tried at once.
std::map<std::string, Attempt> attempts(const Host& host, const Strings& names) {
  std::map<std::string, Attempt> found;
  for (const auto& name : host.world() != nullptr ? names : Strings()) {
    const auto setup = host.world()->directory().setup(name);
    if (setup) found.emplace(name, attemptIn(*setup));
  }
  std::map<std::string, std::future<Attempt>> pending;
  for (const auto& node : host.networkNodes()) {
    pending.emplace(node->nodeName().value_or(""),
                    std::async(std::launch::async, [node] { return attemptAt(*node); }));
  }
  for (auto& [name, attempt] : pending) found.emplace(name, attempt.get());
  return found;
}

Json countOf(const std::string& name, std::string_view type) {
  const auto records = queryResults(
      nodeWithName(name),
      equalTo({type}, attribute::RecordName, {std::string(attribute::AllRecords)}, {}));
  return records ? Json(records->size()) : Json();
}

Json nodeJson(const std::string& name, bool isReachable, const Attempt& attempt) {
  Json node;
  node["name"] = name;
  node["reachable"] = isReachable;
  node["server"] = nullptr;
  node["roundTripMilliseconds"] = nullptr;
  node["fromCache"] = nullptr;
  node["tls"] = attempt.tls ? Json(*attempt.tls) : Json();
  node["whenAway"] = attempt.whenAway ? Json(*attempt.whenAway) : Json();
  node["users"] = nullptr;
  node["groups"] = nullptr;
  node["error"] = nullptr;
  if (attempt.reached) {
    node["server"] = attempt.reached->server;
    if (attempt.reached->isFromCache) node["fromCache"] = *attempt.reached->isFromCache;
    if (attempt.reached->roundTrip.count() != 0) {
      node["roundTripMilliseconds"] = std::round(attempt.reached->roundTrip.count() * 1e5) / 100;
    }
  }
  if (!isReachable) {
    node["error"] = attempt.error.empty() ? "it can't be reached" : attempt.error;
    return node;
  }
  try {
    node["users"] = countOf(name, record::Users);
    node["groups"] = countOf(name, record::Groups);
  } catch (const PlatformException& failure) {
    node["error"] = failure.what();
  }
  return node;
}

std::string milliseconds(const Json& value) {
  if (value.is_null()) return "-";
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.2f ms", value.get<double>());
  return text.data();
}

/// Which server answers, and whether it does so by itself.
std::string serverText(const Json& node) {
  return cellText(node["server"]) + (node["fromCache"] == true ? " (from its cache)" : "");
}

Table table(const Json& nodes) {
  Table table{.header = {"DIRECTORY", "REACHABLE", "SERVER", "ROUND TRIP", "TLS", "WHEN AWAY",
                         "USERS", "GROUPS", "ERROR"},
              .fits = {Fit::Whole, Fit::Whole, Fit::Wrap, Fit::Extra, Fit::Whole, Fit::Extra,
                       Fit::Whole, Fit::Whole, Fit::Wrap},
              .count = countText(nodes.size(), "node")};
  for (const auto& node : nodes) {
    const bool isReachable = node["reachable"];
    table.rows.push_back({{cellText(node["name"])},
                          {cellText(node["reachable"]), isReachable ? Tone::Good : Tone::Bad},
                          {serverText(node)},
                          {milliseconds(node["roundTripMilliseconds"])},
                          {cellText(node["tls"]), node["tls"] == "off" ? Tone::Bad : Tone::Plain},
                          {cellText(node["whenAway"])},
                          {cellText(node["users"])},
                          {cellText(node["groups"])},
                          {cellText(node["error"])}});
  }
  return table;
}

Answer run(const Host& host, const Request&) {
  const auto search = searchNode();
  const auto names = search ? search->subnodeNames().value_or(Strings()) : Strings();
  const auto tried = attempts(host, names);
  const auto unreachable = search ? search->unreachableSubnodeNames().value_or(Strings()) : names;
  auto nodes = Json::array();
  for (const auto& name : names) {
    const auto attempt = tried.find(name);
    const bool isReachable = std::ranges::find(unreachable, name) == unreachable.end();
    nodes.push_back(
        nodeJson(name, isReachable, attempt != tried.end() ? attempt->second : Attempt()));
  }
  const auto rows = table(nodes);
  return {.json = {{"directories", std::move(nodes)}}, .tables = {rows}};
}

}  // namespace

Verb directoriesVerb() {
  return {
      .name = "directories",
      .summary = "The directories that are searched, and how they are",
      .description =
          R"(Shows the nodes that the search node covers, in their order: whether each can be reached,
which server answers for it, out of a cache or not, and how fast, whether what it is sent is protected, whether
its entries count as absent while it is away, how many users and groups it has, or what
is wrong with it.)",
      .example = "--world examples/lab.world.json directories",
      .run = run,
  };
}

}  // namespace gatehall::ctl
