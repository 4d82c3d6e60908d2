#include "linux/ldap/Find.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/files/FaultLog.h"
#include "linux/ldap/client/DistinguishedName.h"
#include "linux/ldap/client/SearchFilter.h"
#include "linux/ldap/client/SecurityID.h"
#include "linux/records/AccountID.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::ldap {

namespace {

using Type = Schema::Type;

constexpr std::array kTypes{Type::User, Type::Group};

/// For what is asked of many at once: one that can't be read is nobody whom it could be about.
constexpr auto kLeftOut = Directory::Unreadable::IsLeftOut;

/// The value as entries hold it; empty for what none can have.
std::optional<std::string> asStored(Slot slot, std::string_view value) {
  if (value.empty()) return std::nullopt;
  if (slot == Slot::GUID) {
    const auto guid = parseUUID(value);
    return guid ? std::optional(uuidText(*guid)) : std::nullopt;
  }
  if (slot == Slot::UserID || slot == Slot::GroupID) {
    const auto id = accountID(value);
    return id && std::to_string(*id) == value ? std::optional(std::string(value)) : std::nullopt;
  }
  return std::string(value);
}

/// The filter that takes the entries with that value; empty for one that none can have.
std::optional<std::string> termOf(Directory& directory, const Schema& schema, Slot slot,
                                  const std::string& value) {
  const auto& attribute = schema.attribute(slot);
  if (schema.mapsIDs() && (slot == Slot::UserID || slot == Slot::GroupID)) {
    const auto sid = directory.withMappedID(value);
    if (!sid) return std::nullopt;
    const bool isWhole = attribute == schema.attribute(Slot::SecurityID);
    return searchFilter::equals(
        attribute, isWhole ? securityID::bytes(*sid) : std::string(securityID::number(*sid)));
  }
  if (slot != Slot::GUID) return searchFilter::equals(attribute, value);
  return searchFilter::equals(attribute, guidForFilter(schema, value).value_or(value));
}

/// No two entries have the same one, or hardly any.
bool isIdentity(Slot slot) {
  return slot == Slot::Name || slot == Slot::UserID || slot == Slot::GUID;
}

/// From so many login names on, all users are asked for: sending one costs a server and this side
/// about half of what looking one up costs. As long as no more than a quarter comes besides,
/// for what has come is lost then.
constexpr std::size_t kManyNames = 1000;
std::size_t mostUsersFor(std::size_t names) { return names + names / 4; }

/// The users with the names, out of all users, if those are few enough and all beyond doubt.
std::optional<Entries> searchAmongAll(Directory& directory,
                                      const std::unordered_set<std::string>& names) {
  auto found = directory.searchUsersUpTo(mostUsersFor(names.size()));
  if (!found) return std::nullopt;
  std::erase_if(*found, [&](const auto& entry) {
    return std::ranges::none_of(entry->of(Slot::Name), [&](const Entry::Value& name) {
      return names.contains(std::string(name.text));
    });
  });
  return found;
}

/// Servers compare each entry that they find with the names one by one. A hundred cost slapd half
/// of what five hundred do, fewer take longer to send.
constexpr std::size_t kMostNamesAtOnce = 100;

/// The entries of the types that servers find by the values, each looked up.
Entries lookUp(Directory& directory, std::span<const Type> types, Slot slot,
               const std::unordered_set<std::string>& values, bool isTogether) {
  std::vector<Search> searches;
  const auto addSearches = [&](std::span<const Type> together) {
    const auto& schema = directory.schemas().of(together.front());
    if (schema.attribute(slot).empty()) return;
    std::vector<std::string> terms;
    terms.reserve(values.size());
    for (const auto& value : values) {
      if (auto term = termOf(directory, schema, slot, value)) terms.push_back(std::move(*term));
    }
    const auto most = slot == Slot::Name ? kMostNamesAtOnce : searchFilter::kMostTerms;
    std::ranges::move(directory.searchesForAny(together, terms, !isIdentity(slot), most),
                      std::back_inserter(searches));
  };
  if (isTogether) {
    addSearches(types);
  } else {
    for (const auto& type : types) addSearches({&type, 1});
  }
  return directory.search(std::move(searches));
}

/// Asks the directory for values that nothing is known of, and keeps the answers.
Entries fetch(Directory& directory, std::span<const Type> types, Slot slot,
              const std::unordered_set<std::string>& values) {
  const auto& schemas = directory.schemas();
  const bool isTogether =
      directory.hasOneBase() && schemas.users.attribute(slot) == schemas.groups.attribute(slot);
  // What a GUID is of is as good as known when either type was asked for.
  std::span<const Type> asked = types;
  if (isTogether && slot == Slot::GUID) asked = kTypes;

  std::array<std::unordered_map<std::string_view, Entries>, kTypes.size()> answers;
  const auto of = [&](Type type) -> auto& { return answers[type == Type::User ? 0 : 1]; };
  for (const auto type : asked) {
    for (const auto& value : values) of(type)[value];
  }
  auto& cache = directory.cache();
  const bool areManyNames = slot == Slot::Name && values.size() >= kManyNames &&
                            asked.size() == 1 && asked.front() == Type::User;
  auto fetched = areManyNames ? searchAmongAll(directory, values) : std::nullopt;
  if (!fetched) fetched = lookUp(directory, asked, slot, values, isTogether);
  Entries found;
  for (const auto& entry : *fetched) {
    bool isMeant = false;
    for (const auto& value : entry->of(slot)) {
      const auto answer = of(entry->type).find(value.text);
      if (answer == of(entry->type).end()) continue;
      answer->second.push_back(entry);
      isMeant = std::ranges::find(types, entry->type) != types.end();
    }
    cache.keepEntry(entry);
    if (isMeant) found.push_back(entry);
  }
  for (const auto type : asked) {
    for (auto& [value, entries] : of(type)) {
      if (slot != Slot::GUID || entries.empty()) {
        cache.keep(type, slot, value, std::move(entries));
      }
    }
  }
  return found;
}

/// A pattern that takes every text which, whatever its case, equals or contains the value. Only
/// printable ASCII is compared by the server: its idea of case and of spaces is its own. Empty when
/// nothing is left to compare.
std::string pattern(std::string_view attribute, std::string_view value, bool isContained) {
  std::string text = isContained ? "*" : "";
  bool hasAny = false;
  for (const char c : value) {
    const bool isCompared = c > ' ' && c < 0x7F;
    if (isCompared) {
      text += searchFilter::escaped({&c, 1});
      hasAny = true;
    } else if (!text.ends_with('*')) {
      text += '*';
    }
  }
  if (isContained && !text.ends_with('*')) text += '*';
  if (!hasAny) return "(" + std::string(attribute) + "=*)";
  return "(" + std::string(attribute) + "=" + text + ")";
}

std::vector<Type> typesOf(const QueryDescription& description) {
  std::vector<Type> types;
  const auto asksFor = [&](std::string_view type) {
    return std::ranges::find(description.recordTypes, type) != description.recordTypes.end();
  };
  if (asksFor(record::Users)) types.push_back(Type::User);
  if (asksFor(record::Groups)) types.push_back(Type::Group);
  return types;
}

/// Entries of one type by a comparison that the directory makes.
Entries findByPattern(Directory& directory, Type type, Slot slot,
                      const QueryDescription& description) {
  const auto& attribute = directory.schemas().of(type).attribute(slot);
  const bool isContained = description.match == MatchType::Contains ||
                           description.match == MatchType::ContainsIgnoringCase;
  std::vector<std::string> terms;
  for (const auto& value : description.values) {
    if (value.empty() && !isContained) continue;
    terms.push_back(pattern(attribute, value, isContained));
  }
  return directory.search(directory.searchesForAny({&type, 1}, terms, true), kLeftOut);
}

/// Names by their canonical spelling.
using Names = std::unordered_map<std::string_view, std::string_view>;

/// A search for each name, which finds no more than one for all of them below the bases would.
/// Raises where a server may take a name for one below a base that isn't by its spelling.
Entries searchOneByOne(Directory& directory, const Names& names) {
  std::vector<Search> searches;
  for (const auto& below : directory.searchesFor(kTypes, {}, false)) {
    const auto base = distinguishedName::canonical(below.base);
    for (const auto& [canonical, name] : names) {
      if (!base || !distinguishedName::isWithin(canonical, *base)) {
        if (base && !distinguishedName::mayBeWithin(canonical, *base)) continue;
        throw PlatformException(directory.nodeName() + ": whether " + printable(name) +
                                " is below " + printable(below.base) + " can't be told");
      }
      searches.push_back(below);
      searches.back().base = name;
      searches.back().scope = Search::Scope::Base;
    }
  }
  return directory.search(std::move(searches));
}

/// One comparison with many names at once.
Entries searchTogether(Directory& directory, const Names& names) {
  std::vector<std::string> terms;
  terms.reserve(names.size());
  for (const auto& [canonical, name] : names) {
    terms.push_back(searchFilter::equals(directory.nameAttribute(), name));
  }
  return directory.search(directory.searchesForAny(kTypes, terms, false));
}

/// Finds the entries of names that nothing is known of, by one comparison where the servers make
/// it.
Entries searchNames(Directory& directory, const Names& names) {
  if (!directory.comparesNames().value_or(true)) return searchOneByOne(directory, names);
  auto found = searchTogether(directory, names);
  if (!found.empty() || directory.comparesNames() || directory.tryComparingNames()) return found;
  return searchOneByOne(directory, names);
}

/// Whether the names that are missing beside entries that were found are nobody's: two of the names
/// may be one and the same to the servers, which have sent its entry once.
bool areNobodys(Directory& directory, const Names& missing) {
  if (missing.empty()) return true;
  const bool isTogether = directory.comparesNames().value_or(true);
  return (isTogether ? searchTogether : searchOneByOne)(directory, missing).empty();
}

}  // namespace

Entries findByValues(Directory& directory, std::span<const Type> types, Slot slot,
                     const Strings& values) {
  std::unordered_set<std::string> wanted;
  for (const auto& value : values) {
    if (auto stored = asStored(slot, value)) wanted.insert(std::move(*stored));
  }
  auto& cache = directory.cache();
  Entries found;
  std::unordered_set<std::string> missing;
  for (const auto& value : wanted) {
    for (const auto type : types) {
      if (const auto known = cache.find(type, slot, value)) {
        found.insert(found.end(), known->begin(), known->end());
      } else {
        missing.insert(value);
      }
    }
  }
  if (!missing.empty()) {
    auto fetched = fetch(directory, types, slot, missing);
    std::ranges::move(fetched, std::back_inserter(found));
  }
  sort(found);
  // An entry may have several of the values.
  found.erase(std::unique(found.begin(), found.end(),
                          [](const auto& left, const auto& right) {
                            return left->first(Slot::GUID) == right->first(Slot::GUID);
                          }),
              found.end());
  return found;
}

Entries findAll(Directory& directory, std::span<const Type> types) {
  Entries all;
  for (const auto type : types) {
    auto known = directory.cache().findAll(type);
    if (!known) {
      known = directory.search(directory.searchesFor({&type, 1}, {}, true), kLeftOut);
      std::erase_if(*known, [type](const auto& entry) { return entry->type != type; });
      sort(*known);
      directory.cache().keepAll(type, *known);
    }
    all.insert(all.end(), std::move_iterator(known->begin()), std::move_iterator(known->end()));
  }
  return all;
}

Candidates findCandidates(Directory& directory, const QueryDescription& description) {
  const auto types = typesOf(description);
  const auto kind = attribute::canonical(description.attribute);
  const auto& values = description.values;
  if (types.empty() || values.empty()) return {{}, true};
  if (kind == attribute::RecordName &&
      std::ranges::find(values, attribute::AllRecords) != values.end()) {
    return {findAll(directory, types), true};
  }
  const bool isExact = description.match == MatchType::EqualTo;
  Candidates candidates{{}, true};
  std::vector<Type> byValue;
  std::optional<Slot> valueSlot;
  for (const auto type : types) {
    const auto slot = directory.schemas().of(type).slotOf(kind);
    const bool isMade = kind == attribute::MetaNodeLocation || kind == attribute::Password ||
                        kind == attribute::AuthenticationAuthority;
    if (!slot && !isMade) continue;
    const bool isIndexed =
        slot == Slot::GUID || (isExact && slot && (isIdentity(*slot) || *slot == Slot::GroupID));
    const bool isEqual = isExact || description.match == MatchType::EqualToIgnoringCase;
    if (isIndexed && isEqual) {
      byValue.push_back(type);
      valueSlot = slot;
      continue;
    }
    const bool isText = slot == Slot::Name || slot == Slot::FullName;
    auto found = isText ? findByPattern(directory, type, *slot, description)
                        : findAll(directory, {&type, 1});
    std::ranges::move(found, std::back_inserter(candidates.entries));
    candidates.areExact = false;
  }
  if (!byValue.empty()) {
    auto found = findByValues(directory, byValue, *valueSlot, values);
    std::ranges::move(found, std::back_inserter(candidates.entries));
  }
  sort(candidates.entries);
  return candidates;
}

std::vector<Directory::LeftOut> findLeftOut(Directory& directory, std::string_view kind,
                                            const std::string& value) {
  const auto& schema = directory.schemas().users;
  const auto slot = schema.slotOf(attribute::canonical(kind));
  const auto wanted = slot ? asStored(*slot, value) : std::nullopt;
  const auto term = wanted ? termOf(directory, schema, *slot, *wanted) : std::nullopt;
  if (!term) return {};
  auto found = directory.searchLeftOut(
      {{schema.base(), Search::Scope::Subtree, searchFilter::bothOf(schema.widerFilter(), *term),
        schema.wanted(), false}});
  // Servers compare more loosely.
  std::erase_if(found, [&](const auto& each) {
    return std::ranges::none_of(each.entry->of(*slot),
                                [&](const auto& text) { return text.text == *wanted; });
  });
  return found;
}

Entries findByNames(Directory& directory, const Strings& names) {
  auto& cache = directory.cache();
  Strings canonicals;
  canonicals.reserve(names.size());
  for (const auto& name : names) {
    auto canonical = distinguishedName::canonical(name);
    if (!canonical) {
      throw PlatformException(directory.nodeName() + ": the member " + printable(name) +
                              " is no distinguished name");
    }
    canonicals.push_back(std::move(*canonical));
  }
  // By the canonical names, which stay where they are.
  std::unordered_set<std::string_view> seen;
  seen.reserve(names.size());
  Entries found;
  found.reserve(names.size());
  Names missing;
  for (std::size_t index = 0; index < names.size(); ++index) {
    const std::string_view canonical = canonicals[index];
    // A group that has to list someone lists the empty name, which is nobody's.
    if (canonical.empty() || !seen.insert(canonical).second) continue;
    if (auto kept = cache.findName(canonical)) {
      if (*kept) found.push_back(std::move(*kept));
    } else {
      missing.emplace(canonical, names[index]);
    }
  }
  if (missing.empty()) return found;
  const auto fetched = searchNames(directory, missing);
  // Servers compare names more loosely than their spelling: what one finds has one of them.
  bool areAllPlaced = true;
  for (const auto& entry : fetched) {
    const auto canonical = distinguishedName::canonical(entry->dn);
    if (canonical && missing.erase(*canonical) != 0) {
      cache.keepName(*canonical, entry);
    } else {
      areAllPlaced = false;
    }
    cache.keepEntry(entry);
    // Login names are looked up next, those of a group's members for one.
    const auto slot = Slot::Name;
    for (const auto& name : entry->of(slot)) {
      cache.keepIfUnknown(entry->type, slot, name.text, entry);
    }
    found.push_back(entry);
  }
  if (areAllPlaced && (fetched.empty() || areNobodys(directory, missing))) {
    for (const auto& [canonical, name] : missing) cache.keepName(canonical, nullptr);
  }
  return found;
}

}  // namespace gatehall::ldap
