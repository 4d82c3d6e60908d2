#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/DirectoryService.h"
#include "world/file/Values.h"
#include "world/file/WorldFile.h"

namespace gatehall {

namespace {

/// The machine's own node besides the local one.
constexpr std::string_view kUnixNode = "unix";

/// The first two places of the search order are the machine's own. A network node that stands in
/// one of them would be passed over in silence, by whatever asks for network users.
void checkOwnPlaces(const JsonCursor& covers, WorldDirectory& directory) {
  const auto local = directory.localNodeName();
  std::size_t place = 0;
  covers.forEachElement([&](const JsonCursor& at) {
    if (!at.isString()) return;
    const auto& node = at.string();
    const bool isOwn = node == kUnixNode || (local ? node == *local : place == 0);
    if (place++ >= kFirstNetworkNode || isOwn || directory.isEmpty(node)) return;
    at.fail(
        "\"" + node +
        "\" would be passed over here: network nodes come third and later, after the local node "
        "and \"unix\"");
  });
}

constexpr std::array kNumericKinds = {attribute::UniqueID, attribute::PrimaryGroupID};

/// An attribute's value as directories hold it: numbers in their decimal text, {"$data": …} bytes
/// that are no text.
std::string readAttributeValue(const JsonCursor& at) {
  if (at.isObject()) {
    const auto value = readValue(at);
    const auto* bytes = value.data();
    if (bytes == nullptr) at.fail(R"(expected {"$data": ...})");
    return {bytes->begin(), bytes->end()};
  }
  if (at.isInteger()) return std::to_string(at.integer());
  if (at.isReal()) return at.real().text;
  if (!at.isString()) at.fail("expected a string, a number or a list of them");
  return at.string();
}

RecordDescription readRecord(const JsonCursor& at) {
  at.object({"type", "attributes", "password", "policy", "unreadable"});
  RecordDescription description;
  if (!at.find("type")) at.note(R"(a record needs a "type")");
  at.with("type", [&](const JsonCursor& type) {
    description.type = type.string();
    if (description.type != record::Users && description.type != record::Groups) {
      type.fail(R"(expected "Users" or "Groups")");
    }
  });
  readRecordContents(at, description);
  at.with("unreadable", [&](const JsonCursor& kinds) {
    kinds.forEachMember([&](const std::string& kind, const JsonCursor& why) {
      description.unreadable.emplace(kind, why.nonEmptyString());
    });
  });
  return description;
}

NodeSetup readSetup(const JsonCursor& at) {
  using WhenAway = NodeSetup::WhenAway;
  NodeSetup setup;
  at.with("server", [&](const JsonCursor& server) { setup.server = server.nonEmptyString(); });
  at.with("tls", [&](const JsonCursor& tls) { setup.tls = tls.nonEmptyString(); });
  at.with("whenAway", [&](const JsonCursor& whenAway) {
    const auto& text = whenAway.string();
    if (text != "ignore" && text != "refuse") whenAway.fail(R"(expected "ignore" or "refuse")");
    setup.whenAway = text == "ignore" ? WhenAway::Ignore : WhenAway::Refuse;
  });
  at.with("away", [&](const JsonCursor& away) { setup.away = away.nonEmptyString(); });
  return setup;
}

void readNode(const JsonCursor& at, WorldDirectory& directory) {
  at.object({"name", "records", "server", "tls", "whenAway", "away"});
  if (!at.find("name")) at.note(R"(a node needs a "name")");
  std::shared_ptr<WorldNode> node;
  at.with("name", [&](const JsonCursor& name) {
    try {
      node = directory.addNode(name.nonEmptyString());
    } catch (const std::invalid_argument&) {
      name.fail("there is another node of that name");
    }
  });
  const bool isSetUp =
      at.find("server") || at.find("tls") || at.find("whenAway") || at.find("away");
  if (node && isSetUp) directory.setSetup(node->nodeName().value_or(""), readSetup(at));
  at.with("records", [&](const JsonCursor& records) {
    records.forEachElement([&](const JsonCursor& record) {
      auto description = readRecord(record);
      if (node) node->addRecord(std::move(description));
    });
  });
}

void readSearchNode(const JsonCursor& at, WorldDirectory& directory) {
  at.object({"name", "covers", "unreachable", "localFirst"});
  if (!at.find("name")) at.note(R"(the search node needs a "name")");
  Strings covered;
  at.with("covers", [&](const JsonCursor& covers) { covered = readStrings(covers); });
  at.with("name", [&](const JsonCursor& name) {
    directory.setSearchNode(name.nonEmptyString(), std::move(covered));
    at.with("localFirst",
            [&](const JsonCursor& first) { directory.setLocalFirst(first.boolean()); });
  });
  at.with("unreachable", [&](const JsonCursor& unreachable) {
    for (const auto& node : readStrings(unreachable)) directory.setReachable(node, false);
  });
}

}  // namespace

void readRecordContents(const JsonCursor& record, RecordDescription& description) {
  record.with("attributes", [&](const JsonCursor& attributes) {
    forEachAttribute(attributes, [&](const std::string& kind, const JsonCursor& values) {
      description.attributes.emplace_back(kind, readAttributeValues(kind, values));
    });
  });
  record.with("password",
              [&](const JsonCursor& password) { description.password = password.string(); });
  record.with("policy", [&](const JsonCursor& policy) { description.policy = readPolicy(policy); });
}

void forEachAttribute(const JsonCursor& attributes,
                      const std::function<void(const std::string&, const JsonCursor&)>& function) {
  Strings kinds;
  attributes.forEachMember([&](const std::string& name, const JsonCursor& values) {
    const std::string kind(attribute::canonical(name));
    if (kind.empty()) values.fail("an attribute needs a name");
    if (std::ranges::find(kinds, kind) != kinds.end()) {
      values.fail("the attribute \"" + kind + "\" is given twice");
    }
    kinds.push_back(kind);
    function(kind, values);
  });
}

Strings readAttributeValues(std::string_view kind, const JsonCursor& at) {
  Strings values;
  const auto read = [&](const JsonCursor& value) {
    values.push_back(readAttributeValue(value));
    const bool numeric = std::ranges::find(kNumericKinds, kind) != kNumericKinds.end();
    if (numeric && !idFromText(values.back())) {
      value.fail("expected a decimal number from 0 to 4294967295");
    }
  };
  if (at.isArray()) {
    at.forEachElement(read);
  } else {
    read(at);
  }
  return values;
}

Dictionary readPolicy(const JsonCursor& at) {
  at.object({"newPasswordRequired", "usingExpirationDate", "usingHardExpirationDate",
             "canModifyPasswordforSelf", "maxMinutesUntilChangePassword", "maxMinutesUntilDisabled",
             "maxMinutesOfNonUse", "maxFailedLoginAttempts", "passwordLastSetTime"});
  at.forEachMember([](const std::string&, const JsonCursor& rule) {
    if (rule.isArray() || rule.isObject()) rule.fail("expected a number, true, false or a string");
  });
  return readDictionary(at);
}

void readDirectory(const JsonCursor& section, WorldDirectory& directory) {
  section.object({"available", "localNode", "searchNode", "nodes"});
  section.with("available", [&](const JsonCursor& at) { directory.setAvailable(at.boolean()); });
  section.with("localNode", [&](const JsonCursor& at) {
    if (!at.isNull()) directory.setLocalNode(at.nonEmptyString());
  });
  section.with("searchNode", [&](const JsonCursor& at) {
    if (!at.isNull()) readSearchNode(at, directory);
  });
  section.with("nodes", [&](const JsonCursor& at) {
    at.forEachElement([&](const JsonCursor& node) { readNode(node, directory); });
  });
  section.with("searchNode", [&](const JsonCursor& at) {
    // What is no object, or no list, is told of above.
    if (!at.isObject()) return;
    const auto covers = at.find("covers");
    if (covers && covers->isArray()) checkOwnPlaces(*covers, directory);
  });
}

}  // namespace gatehall
