#include "ctl/export/Anonymous.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "base/Ascii.h"
#include "ctl/export/RecordEntry.h"
#include "ctl/export/StandIns.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/AuthenticationAuthority.h"
#include "linux/preferences/SettingsFiles.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::ctl {

namespace {

constexpr std::string_view kFailure = "it can't be told";
constexpr std::string_view kNoShell = "/usr/bin/false";

bool isSettingsDomain(std::string_view domain) {
  return std::ranges::find(kSettingsDomains, domain) != kSettingsDomains.end();
}

bool isSetting(std::string_view key) {
  const auto settings = loginScreenSettings();
  return std::ranges::find(settings, key) != settings.end();
}

/// Such a value says no more than the rules read.
bool isPlain(const Json& value) { return value.is_number() || value.is_boolean(); }

/// An empty object where there is none.
const Json& partOf(const Json& object, const char* key) {
  static const Json none = Json::object();
  const auto found = object.find(key);
  return found != object.end() ? *found : none;
}

Json flagOf(const Json& value) {
  if (isPlain(value)) return value;
  const auto flag =
      value.is_string() ? strictBoolean(Value(value.get<std::string>())) : std::optional<bool>();
  return flag ? Json(*flag) : Json("unclear");
}

/// The tags that the rules know, one authority after another.
Json authoritiesOf(const Strings& authorities) {
  auto kept = Json::array();
  for (const auto& text : authorities) {
    if (text == authority::ExpiredUser) {
      kept.push_back(text);
      continue;
    }
    const auto* known = "other";
    for (const auto tag :
         {authority::Basic, authority::ShadowHash, authority::OrvanePasswordServer,
          authority::Kerberosv5, authority::LocalCachedUser, authority::DisabledUser}) {
      if (text.find(tag) != std::string::npos) known = tag.data();
    }
    kept.push_back(std::string(";").append(known) + ";");
  }
  return kept;
}

class Anonymous {
 public:
  Anonymous(const Json& world, Collation& collation) : mWorld(world), mStandIns(world, collation) {}

  Json world() {
    auto world = Json::object();
    for (const auto& [key, section] : mWorld.items()) {
      if (key == "directory") {
        world[key] = directory(section);
      } else if (key == "sessions") {
        world[key] = sessions(section);
      } else if (key == "membership") {
        world[key] = membership(section);
      } else if (key == "preferences") {
        for (const auto& [domain, scopes] : section.items()) {
          if (!isSettingsDomain(domain)) continue;
          for (const auto& [scope, content] : scopes.items()) {
            world[key][domain][scope] = settings(content);
          }
        }
      } else if (key == "managed") {
        for (const auto& [domain, content] : section.items()) {
          if (isSettingsDomain(domain)) world[key][domain] = settings(content);
        }
      } else if (key == "faults") {
        for (const auto& each : section) {
          if (isOfKnownKind(each)) world[key].push_back(fault(each));
        }
      } else {
        world[key] = section;
      }
    }
    return world;
  }

 private:
  Json directory(const Json& section) {
    auto result = section;
    if (result.contains("localNode") && result["localNode"].is_string()) {
      result["localNode"] = mStandIns.node(result["localNode"]);
    }
    if (result.contains("searchNode") && result["searchNode"].is_object()) {
      auto& search = result["searchNode"];
      search["name"] = mStandIns.node(search["name"]);
      for (const auto* key : {"covers", "unreachable"}) {
        if (!search.contains(key)) continue;
        for (auto& name : search[key]) name = mStandIns.node(name);
      }
    }
    if (result.contains("nodes")) {
      for (auto& node : result["nodes"]) node = directoryNode(node);
    }
    return result;
  }

  Json directoryNode(const Json& node) {
    const auto name = mStandIns.node(node["name"]);
    Json result = {{"name", name}};
    if (node.contains("server")) result["server"] = "ldap://" + name;
    for (const auto* key : {"tls", "whenAway"}) {
      if (node.contains(key)) result[key] = node[key];
    }
    if (node.contains("away")) result["away"] = name + " can't be reached";
    for (const auto& each : node.value("records", Json::array())) {
      result["records"].push_back(record(each));
    }
    return result;
  }

  Json record(const Json& record) {
    const bool isUser = record["type"] == record::Users;
    const auto& attributes = record["attributes"];
    const auto names = textsOf(attributes, attribute::RecordName);
    Json result = {{"type", record["type"]}, {"attributes", Json::object()}};
    for (const auto& [kind, value] : attributes.items()) {
      auto values = attributeValues(kind, textsOf(attributes, kind), isUser,
                                    names.empty() ? std::string() : names.front());
      if (values.is_null()) continue;
      const bool isOne = values.is_array() && values.size() == 1;
      result["attributes"][kind] = isOne ? values[0] : values;
    }
    for (const auto& [kind, why] : partOf(record, "unreadable").items()) {
      result["unreadable"][kind] = kFailure;
    }
    if (record.contains("password")) result["password"] = record["password"];
    for (const auto& [rule, value] : partOf(record, "policy").items()) {
      result["policy"][rule] =
          isPlain(value) ? value : Json(integerPrefix(value.get<std::string>()));
    }
    return result;
  }

  /// null: the kind is left out.
  Json attributeValues(std::string_view kind, const Strings& values, bool isUser,
                       const std::string& name) {
    const auto each = [&](auto standIn) {
      auto list = Json::array();
      for (const auto& value : values) list.push_back(standIn(value));
      return list;
    };
    const auto guid = [this](const std::string& text) { return mStandIns.guid(text); };
    const auto user = [this](const std::string& text) { return mStandIns.user(text); };
    const auto group = [this](const std::string& text) { return mStandIns.group(text); };
    const auto node = [this](const std::string& text) { return mStandIns.node(text); };
    const auto always = [](std::string_view text) {
      return [text](const std::string&) { return std::string(text); };
    };
    const auto flag = [](const std::string& text) { return booleanPrefix(text) ? "1" : "0"; };
    if (kind == attribute::RecordName) return isUser ? each(user) : each(group);
    if (kind == attribute::UniqueID || kind == attribute::PrimaryGroupID) return values;
    if (kind == attribute::FullName) return each(always(mStandIns.fullName(name)));
    if (kind == attribute::GUID || kind == attribute::GroupMembers ||
        kind == attribute::NestedGroups) {
      return each(guid);
    }
    if (kind == attribute::GroupMembership) return each(user);
    if (kind == attribute::MetaNodeLocation || kind == attribute::OriginalNodeName) {
      return each(node);
    }
    if (kind == attribute::UserShell) {
      return each([](const std::string& shell) { return shell == kNoShell ? shell : "/bin/sh"; });
    }
    if (kind == attribute::NFSHomeDirectory) return each(always("/home/" + mStandIns.user(name)));
    if (kind == attribute::Picture) return each(always("picture.png"));
    if (kind == attribute::AuthenticationAuthority) return authoritiesOf(values);
    if (kind == attribute::AuthenticationHint) return each(always("hint"));
    if (kind == attribute::Password) {
      return each([](const std::string& mark) { return mark == "*" ? mark : "********"; });
    }
    if (kind == attribute::TavloSettings) return each(always("settings"));
    if (kind == attribute::CopyTimestamp) return each(always("2026-01-01"));
    if (kind == attribute::Guest || kind == attribute::External) return each(flag);
    return nullptr;
  }

  Json session(const Json& session) {
    if (!session.is_object()) return session;
    auto result = session;
    if (result.contains("userName")) result["userName"] = mStandIns.user(result["userName"]);
    return result;
  }

  Json sessions(const Json& section) {
    auto result = section;
    if (result.contains("current")) result["current"] = session(result["current"]);
    if (result.contains("list") && result["list"].is_array()) {
      for (auto& each : result["list"]) each = session(each);
    }
    return result;
  }

  Json membership(const Json& section) {
    auto result = Json::object();
    if (!section.contains("gatehall")) return result;
    result["gatehall"] = section["gatehall"];
    auto& list = result["gatehall"];
    if (list.contains("missing")) list["missing"] = kFailure;
    if (!list.contains("members")) return result;
    for (auto& member : list["members"]) {
      if (member.is_string()) member = mStandIns.guid(member);
    }
    return result;
  }

  Json settings(const Json& settings) {
    if (!settings.is_object()) return "unclear";
    auto result = Json::object();
    for (const auto& [key, value] : settings.items()) {
      if (!isSetting(key)) continue;
      const auto kind = kindOfSetting(key);
      result[key] =
          kind == SettingKind::Boolean ? flagOf(value) : list(value, kind == SettingKind::Names);
    }
    return result;
  }

  Json list(const Json& list, bool isOfNames) {
    if (!list.is_array()) return "unclear";
    auto result = Json::array();
    for (const auto& entry : list) {
      if (!entry.is_string()) {
        result.push_back(isPlain(entry) ? entry : Json("unclear"));
        continue;
      }
      const auto text = entry.get<std::string>();
      result.push_back(text == "*" ? text
                       : isOfNames ? mStandIns.user(text)
                                   : mStandIns.guid(text));
    }
    return result;
  }

  /// A kind of attribute that no rule reads fails for nobody.
  static bool isOfKnownKind(const Json& fault) {
    const auto& where = partOf(fault, "where");
    const auto kind = where.find("attribute");
    if (kind == where.end()) return true;
    const auto spelled = kind->get<std::string>();
    return spelled == attribute::JPEGPhoto ||
           std::ranges::find(recordKinds(), attribute::canonical(spelled)) != recordKinds().end();
  }

  Json fault(const Json& fault) {
    auto result = fault;
    if (result.contains("text")) result["text"] = kFailure;
    if (!result.contains("where")) return result;
    auto& where = result["where"];
    if (where.contains("node")) where["node"] = mStandIns.node(where["node"]);
    for (const auto* key : {"value", "user"}) {
      if (where.contains(key)) where[key] = argument(where[key]);
    }
    return result;
  }

  /// What a call is asked about.
  std::string argument(const std::string& text) {
    const bool isSettings = std::ranges::any_of(kSettingsDomains, [&](auto domain) {
      const auto places = managedPlaces(domain);
      return text == domain || std::ranges::find(places, text) != places.end();
    });
    if (isSettings || isSetting(text)) return text;
    if (text == attribute::AllRecords || ascii::isNumber(text)) return text;
    if (text == "gatehall" || text == "gatehall-access") return text;
    return parseUUID(text) ? mStandIns.guid(text) : mStandIns.user(text);
  }

  const Json& mWorld;
  StandIns mStandIns;
};

}  // namespace

Exported anonymous(const Exported& exported, Collation& collation) {
  Exported result{.world = Anonymous(exported.world, collation).world()};
  // What stands behind a colon are the words of a failure.
  for (const auto& sentence : exported.unknown) {
    result.unknown.push_back(sentence.substr(0, sentence.find(':')));
  }
  return result;
}

}  // namespace gatehall::ctl
