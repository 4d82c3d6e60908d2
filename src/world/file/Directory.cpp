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

/// An attribute's value as directories hold it: numbers in their decimal text.
std::string readAttributeValue(const JsonCursor& at) {
  if (at.isInteger()) return std::to_string(at.integer());
  if (at.isReal()) return at.real().text;
  if (!at.isString()) at.fail("expected a string, a number or a list of them");
  return at.string();
}

RecordDescription readRecord(const JsonCursor& at) {
  at.object({"type", "attributes", "password", "policy"});
  RecordDescription description;
  const auto type = at.find("type");
  if (!type) at.fail(R"(a record needs a "type")");
  description.type = type->string();
  if (description.type != record::Users && description.type != record::Groups) {
    type->fail(R"(expected "Users" or "Groups")");
  }
  readRecordContents(at, description);
  return description;
}

void readNode(const JsonCursor& at, WorldDirectory& directory) {
  at.object({"name", "records"});
  const auto name = at.find("name");
  if (!name) at.fail(R"(a node needs a "name")");
  std::shared_ptr<WorldNode> node;
  try {
    node = directory.addNode(name->nonEmptyString());
  } catch (const std::invalid_argument&) {
    name->fail("there is another node of that name");
  }
  const auto records = at.find("records");
  if (!records) return;
  records->forEachElement([&](const JsonCursor& record) { node->addRecord(readRecord(record)); });
}

void readSearchNode(const JsonCursor& at, WorldDirectory& directory) {
  at.object({"name", "covers", "unreachable"});
  const auto name = at.find("name");
  if (!name) at.fail(R"(the search node needs a "name")");
  const auto covers = at.find("covers");
  directory.setSearchNode(name->nonEmptyString(), covers ? readStrings(*covers) : Strings());
  const auto unreachable = at.find("unreachable");
  if (!unreachable) return;
  for (const auto& node : readStrings(*unreachable)) directory.setReachable(node, false);
}

}  // namespace

void readRecordContents(const JsonCursor& record, RecordDescription& description) {
  if (const auto attributes = record.find("attributes")) {
    forEachAttribute(*attributes, [&](const std::string& kind, const JsonCursor& values) {
      description.attributes.emplace_back(kind, readAttributeValues(kind, values));
    });
  }
  if (const auto password = record.find("password")) description.password = password->string();
  if (const auto policy = record.find("policy")) description.policy = readPolicy(*policy);
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
  if (const auto at = section.find("available")) directory.setAvailable(at->boolean());
  if (const auto at = section.find("localNode"); at && !at->isNull()) {
    directory.setLocalNode(at->nonEmptyString());
  }
  if (const auto at = section.find("searchNode"); at && !at->isNull()) {
    readSearchNode(*at, directory);
  }
  if (const auto at = section.find("nodes")) {
    at->forEachElement([&](const JsonCursor& node) { readNode(node, directory); });
  }
  if (const auto at = section.find("searchNode"); at && !at->isNull()) {
    if (const auto covers = at->find("covers")) checkOwnPlaces(*covers, directory);
  }
}

}  // namespace gatehall
