#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "instrumented/InstrumentedServices.h"

namespace gatehall::instrumented {

namespace {

using Instruments = std::shared_ptr<Instrumentation>;

/// A record's values of an identifying kind. What instrumentation asks for itself never fails the
/// operation it is about, so a failure is no values.
Strings identity(DirectoryRecord& record, std::string_view kind) {
  try {
    return record.valuesForAttribute(kind).value_or(Strings{});
  } catch (const std::exception&) {
    return {};
  }
}

void addName(Dictionary& arguments, std::string key, DirectoryRecord& record) {
  const Strings names = identity(record, attribute::RecordName);
  if (!names.empty()) arguments.emplace(std::move(key), names.front());
}

Strings usersOf(DirectoryRecord& record) {
  Strings users = identity(record, attribute::RecordName);
  if (users.size() > 1) users.resize(1);
  const Strings userIDs = identity(record, attribute::UniqueID);
  users.insert(users.end(), userIDs.begin(), userIDs.end());
  return users;
}

Strings nodesOf(DirectoryNode& node) {
  try {
    const auto name = node.nodeName();
    return name ? Strings{*name} : Strings{};
  } catch (const std::exception&) {
    return {};
  }
}

void addNode(Dictionary& arguments, DirectoryNode& node) {
  const Strings names = nodesOf(node);
  if (!names.empty()) arguments.emplace("node", names.front());
}

bool isSecret(std::string_view kind) { return attribute::canonical(kind) == attribute::Password; }

Value recordable(const Strings& values, std::string_view kind) {
  return isSecret(kind) ? Value("(not recorded)") : Value(values);
}

std::string matchName(MatchType match) {
  switch (match) {
    case MatchType::EqualTo:
      return "equal to";
    case MatchType::EqualToIgnoringCase:
      return "equal to ignoring case";
    case MatchType::Contains:
      return "contains";
    case MatchType::ContainsIgnoringCase:
      return "contains ignoring case";
  }
  return std::to_string(static_cast<std::uint32_t>(match));
}

class InstrumentedRecord : public DirectoryRecord {
 public:
  InstrumentedRecord(std::shared_ptr<DirectoryRecord> host, Instruments instruments)
      : mHost(std::move(host)), mInstruments(std::move(instruments)) {}

  std::string recordType() override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("recordType", facts)) return {};
    return mHost->recordType();
  }

  std::optional<Strings> valuesForAttribute(std::string_view kind) override {
    const auto facts = [&] {
      CallFacts described = describe();
      described.arguments.emplace("attribute", kind);
      described.attributes = {std::string(kind)};
      return described;
    };
    if (mInstruments->answersNothing("valuesForAttribute", facts)) return std::nullopt;
    return mHost->valuesForAttribute(kind);
  }

  std::optional<Dictionary> recordDetails(const Strings& kinds) override {
    const auto facts = [&] {
      CallFacts described = describe();
      described.arguments.emplace("attributes", kinds);
      described.attributes = kinds;
      return described;
    };
    if (mInstruments->answersNothing("recordDetails", facts)) return std::nullopt;
    return mHost->recordDetails(kinds);
  }

  bool setValue(std::string_view value, std::string_view kind) override {
    const auto facts = [&] {
      CallFacts described = describe();
      described.arguments.emplace("attribute", kind);
      described.arguments.emplace("value", isSecret(kind) ? "(not recorded)" : value);
      described.attributes = {std::string(kind)};
      if (!isSecret(kind)) described.values = {std::string(value)};
      return described;
    };
    if (mInstruments->answersNothing("setValue", facts)) return false;
    return mHost->setValue(value, kind);
  }

  bool verifyPassword(std::string_view password, DirectoryError& error) override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("verifyPassword", facts)) return false;
    return mHost->verifyPassword(password, error);
  }

  bool changePassword(std::string_view oldPassword, std::string_view newPassword,
                      DirectoryError& error) override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("changePassword", facts)) return false;
    return mHost->changePassword(oldPassword, newPassword, error);
  }

  bool isMember(DirectoryRecord& member) override {
    // The host knows only its own records.
    auto* const instrumented = dynamic_cast<InstrumentedRecord*>(&member);
    DirectoryRecord& hostMember = instrumented != nullptr ? *instrumented->mHost : member;
    const auto facts = [&] {
      CallFacts described;
      addName(described.arguments, "group", *mHost);
      addName(described.arguments, "member", hostMember);
      described.nodes = [this] { return identity(*mHost, attribute::MetaNodeLocation); };
      described.users = [this, &hostMember] {
        Strings users = usersOf(*mHost);
        for (std::string& each : usersOf(hostMember)) users.push_back(std::move(each));
        return users;
      };
      return described;
    };
    if (mInstruments->answersNothing("isMember", facts)) return false;
    return mHost->isMember(hostMember);
  }

  std::optional<Dictionary> passwordPolicy() override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("passwordPolicy", facts)) return std::nullopt;
    return mHost->passwordPolicy();
  }

  bool synchronize() override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("synchronize", facts)) return false;
    return mHost->synchronize();
  }

 private:
  CallFacts describe() {
    CallFacts facts;
    addName(facts.arguments, "record", *mHost);
    facts.nodes = [this] { return identity(*mHost, attribute::MetaNodeLocation); };
    facts.users = [this] { return usersOf(*mHost); };
    return facts;
  }

  std::shared_ptr<DirectoryRecord> mHost;
  Instruments mInstruments;
};

class InstrumentedQuery : public DirectoryQuery {
 public:
  InstrumentedQuery(std::shared_ptr<DirectoryQuery> host, std::shared_ptr<DirectoryNode> hostNode,
                    QueryDescription description, Instruments instruments)
      : mHost(std::move(host)),
        mHostNode(std::move(hostNode)),
        mDescription(std::move(description)),
        mInstruments(std::move(instruments)) {}

  std::optional<std::vector<std::shared_ptr<DirectoryRecord>>> results(bool allowPartial) override {
    const auto facts = [&] {
      CallFacts described = describe(*mHostNode, mDescription);
      described.arguments.emplace("allowPartial", allowPartial);
      return described;
    };
    if (mInstruments->answersNothing("queryResults", facts)) return std::nullopt;
    auto records = mHost->results(allowPartial);
    if (!records) return records;
    for (auto& each : *records) {
      each = std::make_shared<InstrumentedRecord>(std::move(each), mInstruments);
    }
    return records;
  }

  /// What a query and its results have in common.
  static CallFacts describe(DirectoryNode& hostNode, const QueryDescription& description) {
    CallFacts facts;
    addNode(facts.arguments, hostNode);
    facts.arguments.emplace("attribute", description.attribute);
    facts.arguments.emplace("values", recordable(description.values, description.attribute));
    facts.attributes = {description.attribute};
    if (!isSecret(description.attribute)) facts.values = description.values;
    facts.nodes = [&hostNode] { return nodesOf(hostNode); };
    const std::string_view kind = attribute::canonical(description.attribute);
    if (kind == attribute::RecordName || kind == attribute::UniqueID) {
      facts.users = [values = facts.values] { return values; };
    }
    return facts;
  }

 private:
  std::shared_ptr<DirectoryQuery> mHost;
  std::shared_ptr<DirectoryNode> mHostNode;
  QueryDescription mDescription;
  Instruments mInstruments;
};

class InstrumentedNode : public DirectoryNode {
 public:
  InstrumentedNode(std::shared_ptr<DirectoryNode> host, Instruments instruments)
      : mHost(std::move(host)), mInstruments(std::move(instruments)) {}

  std::optional<std::string> nodeName() override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("nodeName", facts)) return std::nullopt;
    return mHost->nodeName();
  }

  std::optional<Strings> subnodeNames() override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("subnodeNames", facts)) return std::nullopt;
    return mHost->subnodeNames();
  }

  std::optional<Strings> unreachableSubnodeNames() override {
    const auto facts = [&] { return describe(); };
    if (mInstruments->answersNothing("unreachableSubnodeNames", facts)) return std::nullopt;
    return mHost->unreachableSubnodeNames();
  }

  std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type, std::string_view name,
                                                       const Strings& attributes) override {
    const auto facts = [&] {
      CallFacts described = describe();
      described.arguments.emplace("type", type);
      described.arguments.emplace("name", name);
      described.arguments.emplace("attributes", attributes);
      described.attributes = attributes;
      described.values = {std::string(name)};
      described.users = [names = described.values] { return names; };
      return described;
    };
    if (mInstruments->answersNothing("recordByTypeAndName", facts)) return nullptr;
    auto record = mHost->recordByTypeAndName(type, name, attributes);
    if (!record) return nullptr;
    return std::make_shared<InstrumentedRecord>(std::move(record), mInstruments);
  }

  std::shared_ptr<DirectoryQuery> query(QueryDescription description) override {
    const auto facts = [&] {
      CallFacts described = InstrumentedQuery::describe(*mHost, description);
      described.arguments.emplace("recordTypes", description.recordTypes);
      described.arguments.emplace("match", matchName(description.match));
      described.arguments.emplace("returning", description.returning);
      described.arguments.emplace("maximumResults",
                                  static_cast<std::int64_t>(description.maximumResults));
      return described;
    };
    if (mInstruments->answersNothing("query", facts)) return nullptr;
    auto query = mHost->query(description);
    if (!query) return nullptr;
    return std::make_shared<InstrumentedQuery>(std::move(query), mHost, std::move(description),
                                               mInstruments);
  }

 private:
  CallFacts describe() {
    CallFacts facts;
    addNode(facts.arguments, *mHost);
    facts.nodes = [this] { return nodesOf(*mHost); };
    return facts;
  }

  std::shared_ptr<DirectoryNode> mHost;
  Instruments mInstruments;
};

class InstrumentedSession : public DirectorySession {
 public:
  InstrumentedSession(std::shared_ptr<DirectorySession> host, Instruments instruments)
      : mHost(std::move(host)), mInstruments(std::move(instruments)) {}

  std::shared_ptr<DirectoryNode> nodeByType(NodeType type) override {
    const std::string name = type == NodeType::Local ? "local" : "search";
    const auto facts = [&] {
      return CallFacts{{{"type", name}}, {}, {}, [&] { return Strings{name}; }, {}};
    };
    if (mInstruments->answersNothing("nodeByType", facts)) return nullptr;
    return instrumented(mHost->nodeByType(type));
  }

  std::shared_ptr<DirectoryNode> nodeByName(std::string_view name) override {
    const auto facts = [&] {
      return CallFacts{{{"name", name}}, {}, {}, [name] { return Strings{std::string(name)}; }, {}};
    };
    if (mInstruments->answersNothing("nodeByName", facts)) return nullptr;
    return instrumented(mHost->nodeByName(name));
  }

 private:
  std::shared_ptr<DirectoryNode> instrumented(std::shared_ptr<DirectoryNode> node) const {
    if (!node) return nullptr;
    return std::make_shared<InstrumentedNode>(std::move(node), mInstruments);
  }

  std::shared_ptr<DirectorySession> mHost;
  Instruments mInstruments;
};

class InstrumentedDirectory : public DirectoryService {
 public:
  InstrumentedDirectory(Platform& host, Instruments instruments)
      : mHost(host), mInstruments(std::move(instruments)) {}

  std::shared_ptr<DirectorySession> defaultSession() override {
    if (mInstruments->answersNothing("defaultSession")) return nullptr;
    auto session = mHost.directory().defaultSession();
    if (!session) return nullptr;
    return std::make_shared<InstrumentedSession>(std::move(session), mInstruments);
  }

 private:
  Platform& mHost;
  Instruments mInstruments;
};

}  // namespace

std::unique_ptr<DirectoryService> directory(Platform& host,
                                            std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedDirectory>(host, std::move(instruments));
}

}  // namespace gatehall::instrumented
