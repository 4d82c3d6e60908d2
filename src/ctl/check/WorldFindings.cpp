#include "ctl/check/WorldFindings.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/preferences/PolicyFileContent.h"
#include "linux/preferences/SettingsFiles.h"
#include "portable/NameBasedUUID.h"
#include "portable/text/NearestName.h"
#include "world/file/Values.h"

namespace gatehall::ctl {

namespace {

using Severity = Finding::Severity;
using At = const JsonCursor&;

constexpr std::string_view kNative = "lxAttrTypeNative:";

constexpr std::array kKinds = {
    attribute::RecordName,
    attribute::UniqueID,
    attribute::GUID,
    attribute::FullName,
    attribute::PrimaryGroupID,
    attribute::UserShell,
    attribute::NFSHomeDirectory,
    attribute::HomeDirectory,
    attribute::Picture,
    attribute::JPEGPhoto,
    attribute::AuthenticationAuthority,
    attribute::AuthenticationHint,
    attribute::Password,
    attribute::TavloSettings,
    attribute::MetaNodeLocation,
    attribute::OriginalNodeName,
    attribute::CopyTimestamp,
    attribute::GroupMembers,
    attribute::GroupMembership,
    attribute::NestedGroups,
};

std::string inQuotes(std::string_view text) { return "\"" + std::string(text) + "\""; }

/// The member's value; nothing where there is none, or the place is no object.
std::optional<JsonCursor> in(At at, std::string_view key) {
  return at.isObject() ? at.find(key) : std::nullopt;
}

/// Calls with each element of a list, or with the value itself.
template <class Function>
void eachOf(const std::optional<JsonCursor>& at, Function function) {
  if (!at) return;
  if (at->isArray()) {
    at->forEachElement(function);
  } else {
    function(*at);
  }
}

/// A text, or a number in decimal; empty for anything else.
std::string textOf(At at) {
  if (at.isString()) return at.string();
  return at.isInteger() ? std::to_string(at.integer()) : std::string();
}

/// What is the same in all spellings of a GUID; any other text itself.
std::string keyOf(const std::string& text) {
  const auto guid = parseUUID(text);
  return guid ? uuidText(*guid) : text;
}

/// What to do about a text that is none of the names.
std::string correctTo(std::string_view text, std::span<const std::string_view> names) {
  const auto near = nearestNames(text, names, 1);
  return near.empty() ? "Leave it out."
                      : "Did you mean " + inQuotes(near.front()) + "? Else leave it out.";
}

/// Finds the lines of a text of which many places are asked for.
class Places {
 public:
  explicit Places(const JsonSource& source) : mSource(source) {
    for (std::size_t at = 0; at < source.text.size(); ++at) {
      if (source.text[at] == '\n') mLineEnds.push_back(at);
    }
  }

  std::size_t lineOf(std::size_t offset) const {
    const auto end = std::ranges::lower_bound(mLineEnds, offset);
    return static_cast<std::size_t>(end - mLineEnds.begin()) + 1;
  }

  Finding of(const JsonFault& fault) const {
    const auto line = lineOf(fault.offset);
    const auto begin = line == 1 ? 0 : mLineEnds[line - 2] + 1;
    return {
        .file = mSource.name, .line = line, .column = fault.offset - begin + 1, .path = fault.path};
  }

 private:
  const JsonSource& mSource;
  std::vector<std::size_t> mLineEnds;  ///< where they are
};

class WorldCheck {
 public:
  WorldCheck(const JsonSource& source, At root, Policy& policy)
      : mSource(source), mPlaces(source), mRoot(root), mPolicy(policy) {}

  std::vector<Finding> run() {
    if (const auto directory = in(mRoot, "directory")) {
      if (const auto nodes = in(*directory, "nodes"); nodes && nodes->isArray()) {
        nodes->forEachElement([&](At node) { takeNode(node); });
        nodes->forEachElement([&](At node) { checkMembers(node); });
      }
      checkNodeNames(*directory);
    }
    checkSessions();
    checkAccessLists();
    checkLimits();
    for (const auto* section : {"managed", "preferences"}) checkDomains(section);
    takeSettings();
    return std::move(mFindings);
  }

 private:
  void add(Severity severity, At at, std::string text, std::string remedy) {
    mFindings.push_back(
        findingAt(mPlaces.of(at.faultHere("")), severity, std::move(text), std::move(remedy)));
  }
  void warn(At at, std::string text, std::string remedy) {
    add(Severity::Warning, at, std::move(text), std::move(remedy));
  }

  // Records

  /// Where each text stood first, and whether in a copy of another record.
  struct First {
    std::size_t offset;
    bool isCopy;
  };
  using Seen = std::unordered_map<std::string, First>;

  void takeNode(At node) {
    if (const auto name = in(node, "name")) mNodes.insert(textOf(*name));
    const auto records = in(node, "records");
    if (!records || !records->isArray()) return;
    records->forEachElement([&](At record) { takeRecord(record); });
  }

  void takeRecord(At record) {
    const auto attributes = in(record, "attributes");
    const auto type = in(record, "type");
    if (!attributes || !attributes->isObject() || !type) return;
    const bool isUser = textOf(*type) == record::Users;
    // A mobile account is the copy of another one, with the same name, id and GUID.
    bool isCopy = false;
    attributes->forEachMember([&](const std::string& name, At) {
      if (attribute::canonical(name) == attribute::OriginalNodeName) isCopy = true;
    });
    attributes->forEachMember([&](const std::string& name, At values) {
      const auto kind = attribute::canonical(name);
      checkKind(kind, values);
      const auto take = [&](Seen& seen, std::string_view what) {
        eachOf(values, [&](At value) { takeOnce(seen, what, value, isCopy); });
      };
      if (kind == attribute::RecordName) {
        take(isUser ? mUsers : mGroups, isUser ? "the login name" : "the group's name");
      } else if (kind == attribute::UniqueID && isUser) {
        take(mUserIDs, "the user id");
      } else if (kind == attribute::PrimaryGroupID && !isUser) {
        take(mGroupIDs, "the group id");
      } else if (kind == attribute::GUID) {
        eachOf(values, [&](At value) {
          if (requireGUID(value)) takeOnce(mGUIDs, "the GUID", value, isCopy);
        });
      }
    });
  }

  void checkKind(std::string_view kind, At values) {
    if (kind.starts_with(kNative) || std::ranges::find(kKinds, kind) != kKinds.end()) return;
    warn(values, inQuotes(kind) + " is no kind of attribute that anybody asks for",
         correctTo(kind, kKinds));
  }

  bool requireGUID(At value) {
    if (value.isString() && parseUUID(value.string())) return true;
    if (value.isString() || value.isInteger()) {
      add(Severity::Error, value, inQuotes(textOf(value)) + " is no GUID",
          "Write 32 hexadecimal digits, with hyphens behind the 8th, 12th, 16th and 20th.");
    }
    return false;
  }

  void takeOnce(Seen& seen, std::string_view what, At value, bool isCopy) {
    const auto text = textOf(value);
    if (text.empty()) return;
    const auto [other, isFirst] = seen.emplace(keyOf(text), First{value.offset(), isCopy});
    if (isFirst || isCopy || other->second.isCopy) return;
    warn(value,
         std::string(what) + " " + text + " stands in line " +
             std::to_string(mPlaces.lineOf(other->second.offset)) + " as well",
         "Give each its own: else the first counts, and lists can't tell the two apart.");
  }

  void checkMembers(At node) {
    const auto records = in(node, "records");
    if (!records || !records->isArray()) return;
    records->forEachElement([&](At record) {
      const auto attributes = in(record, "attributes");
      if (!attributes || !attributes->isObject()) return;
      attributes->forEachMember([&](const std::string& name, At values) {
        const auto kind = attribute::canonical(name);
        if (kind == attribute::GroupMembership) {
          eachOf(values, [&](At value) { requireKnown(mUsers, value, "is nobody's login name"); });
        } else if (kind == attribute::GroupMembers || kind == attribute::NestedGroups) {
          eachOf(values, [&](At value) {
            if (requireGUID(value)) requireKnown(mGUIDs, value, "names nobody");
          });
        }
      });
    });
  }

  void requireKnown(const Seen& known, At value, std::string_view fault) {
    const auto text = textOf(value);
    if (text.empty() || known.contains(keyOf(text))) return;
    warn(value, inQuotes(text) + " " + std::string(fault), "Correct it, or leave it out.");
  }

  // Nodes

  void requireNode(At value) {
    const auto text = textOf(value);
    if (text.empty() || mNodes.contains(text)) return;
    std::string remedy = "Add a node of that name, or leave it out.";
    const std::vector<std::string_view> names(mNodes.begin(), mNodes.end());
    const auto near = nearestNames(text, names, 1);
    if (!near.empty()) {
      remedy = "Did you mean " + inQuotes(near.front()) + "? Else a" + remedy.substr(1);
    }
    warn(value, "there is no node " + inQuotes(text), std::move(remedy));
  }

  void checkNodeNames(At directory) {
    if (const auto local = in(directory, "localNode")) requireNode(*local);
    const auto search = in(directory, "searchNode");
    if (!search) return;
    for (const auto* key : {"covers", "unreachable"}) {
      eachOf(in(*search, key), [&](At name) { requireNode(name); });
    }
  }

  // Other sections

  void checkSessions() {
    const auto sessions = in(mRoot, "sessions");
    const auto list = sessions ? in(*sessions, "list") : std::nullopt;
    if (!list || !list->isArray()) return;
    std::set<std::int64_t> seen;
    list->forEachElement([&](At session) {
      const auto id = in(session, "id");
      if (!id || !id->isInteger() || seen.insert(id->integer()).second) return;
      add(Severity::Error, *id, "there is another session " + std::to_string(id->integer()),
          "Give each session an id of its own.");
    });
  }

  void checkAccessLists() {
    const auto section = in(mRoot, "membership");
    if (!section || !section->isObject()) return;
    section->forEachMember([&](const std::string& service, At list) {
      const auto members = in(list, "members");
      if (!members || !members->isArray()) return;
      // A list whose question fails admits nobody as it is.
      const auto status = in(list, "status");
      const bool isAsked = !status || (status->isInteger() && status->integer() == 0);
      if (members->size() == 0 && service == "gatehall" && isAsked) {
        add(Severity::Error, *members, "the access list has no members, so that nobody may log in",
            "Add those who may, or leave the list out, which admits everybody.");
      }
      members->forEachElement([&](At member) {
        // What is no GUID is told of where the world is read.
        if (member.isString() && !parseUUID(member.string())) return;
        requireKnown(member.isInteger() ? mUserIDs : mGUIDs, member,
                     member.isInteger() ? "is nobody's user id" : "names nobody");
      });
    });
  }

  void checkLimits() {
    const auto section = in(mRoot, "parentalControls");
    if (!section || !section->isObject()) return;
    section->forEachMember([&](const std::string& userID, At limit) {
      if (!idFromText(userID) || mUserIDs.contains(userID)) return;
      warn(limit, inQuotes(userID) + " is nobody's user id", "Correct it, or leave it out.");
    });
  }

  void checkDomains(std::string_view name) {
    const auto section = in(mRoot, name);
    if (!section || !section->isObject()) return;
    section->forEachMember([&](const std::string& domain, At settings) {
      if (std::ranges::find(kSettingsDomains, domain) != kSettingsDomains.end()) return;
      warn(settings, "nobody reads settings of " + inQuotes(domain),
           correctTo(domain, kSettingsDomains));
    });
  }

  void takeSettings() {
    if (const auto managed = in(mRoot, "managed")) takeSettings(in(*managed, kLoginScreenDomain));
    const auto preferences = in(mRoot, "preferences");
    const auto domain = preferences ? in(*preferences, kLoginScreenDomain) : std::nullopt;
    if (!domain) return;
    takeSettings(in(*domain, "user"));
    takeSettings(in(*domain, "system"));
  }

  /// What was taken before is stronger.
  void takeSettings(const std::optional<JsonCursor>& settings) {
    if (!settings || !settings->isObject()) return;
    Dictionary values;
    const JsonCursor& at = *settings;
    at.forEachMember([&](const std::string& key, At value) {
      std::vector<JsonFault> faults;
      const JsonSource source{mSource.name, mSource.text, &faults};
      source.attempt([&] { values.emplace(key, readValue(value)); });
    });
    for (const auto& fault : faultsOfSettings("com.orvane.gatehall.plist", values)) {
      const auto where = at.find(fault.key);
      if (where) {
        add(fault.isRefused ? Severity::Error : Severity::Warning, *where,
            fault.key + ": " + fault.text,
            fault.isRefused ? "Correct it: a machine refuses such a file."
                            : "Correct the name, or leave it out: it decides nothing.");
      }
    }
    at.forEachMember([&](const std::string& key, At value) {
      const auto read = values.find(key);
      if (read == values.end()) return;
      PlacedSetting setting{read->second, mPlaces.of(value.faultHere("")), {}};
      if (value.isArray()) {
        value.forEachElement(
            [&](At entry) { setting.entries.push_back(mPlaces.of(entry.faultHere(""))); });
      }
      mPolicy.emplace(key, std::move(setting));
    });
  }

  const JsonSource& mSource;
  Places mPlaces;
  At mRoot;
  Policy& mPolicy;
  std::vector<Finding> mFindings;
  std::set<std::string> mNodes;
  Seen mUsers;
  Seen mGroups;
  Seen mUserIDs;
  Seen mGroupIDs;
  Seen mGUIDs;
};

}  // namespace

std::vector<Finding> findingsOfFaults(const JsonSource& source) {
  std::vector<Finding> findings;
  const Places places(source);
  for (const auto& fault : source.faults != nullptr ? *source.faults : std::vector<JsonFault>()) {
    auto text = fault.what;
    std::string remedy = "Correct it as gatehall-world(5) says.";
    if (!fault.known.empty()) {
      const auto key = fault.path.substr(fault.path.rfind('/') + 1);
      const std::vector<std::string_view> known(fault.known.begin(), fault.known.end());
      text = inQuotes(key) + " is no key that may stand here";
      remedy = correctTo(key, known);
    }
    findings.push_back(findingAt(places.of(fault), Severity::Error, text, remedy));
  }
  return findings;
}

std::vector<Finding> findingsOfWorld(const JsonSource& source, const JsonCursor& root,
                                     Policy& policy) {
  return WorldCheck(source, root, policy).run();
}

}  // namespace gatehall::ctl
