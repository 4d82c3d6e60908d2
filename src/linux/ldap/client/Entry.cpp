#include "linux/ldap/client/Entry.h"

#include <algorithm>
#include <array>
#include <ranges>

#include "base/Ascii.h"
#include "base/TextStart.h"
#include "linux/files/FaultLog.h"
#include "linux/ldap/client/DistinguishedName.h"
#include "linux/ldap/client/SecurityID.h"
#include "linux/records/AccountID.h"
#include "portable/NameBasedUUID.h"
#include "portable/text/Utf8.h"

namespace gatehall::ldap {

namespace {

constexpr std::size_t kLongestValue = 65536;
constexpr std::size_t kLongestName = 8192;
constexpr std::string_view kRangeOption = "range=";

/// Active Directory keeps the first three fields of a GUID in the order of little-endian machines.
UUIDBytes swapped(UUIDBytes bytes) {
  std::reverse(bytes.begin(), bytes.begin() + 4);
  std::reverse(bytes.begin() + 4, bytes.begin() + 6);
  std::reverse(bytes.begin() + 6, bytes.begin() + 8);
  return bytes;
}

std::optional<std::string> guidText(const Schema& schema, std::string_view value) {
  std::optional<UUIDBytes> guid;
  if (schema.hasBinaryGUIDs() && value.size() == sizeof(UUIDBytes)) {
    UUIDBytes bytes{};
    std::ranges::copy(value, bytes.begin());
    guid = swapped(bytes);
  } else {
    guid = parseUUID(value);
  }
  if (!guid) return std::nullopt;
  return uuidText(*guid);
}

std::span<const std::string_view> valuesOf(std::span<const Attribute> attributes,
                                           std::string_view name) {
  for (const auto& each : attributes) {
    if (ascii::isSame(each.name, name)) return each.values;
  }
  return {};
}

/// Whether the name is the attribute's, in any case; the options that follow it.
std::optional<std::string_view> optionsOf(std::string_view name, std::string_view attribute) {
  const auto length = attribute.size();
  if (!ascii::isSame(name.substr(0, length), attribute)) return std::nullopt;
  if (name.size() == length) return std::string_view();
  if (name[length] != ';') return std::nullopt;
  return name.substr(length + 1);
}

class EntryReader {
 public:
  EntryReader(const Schema& schema, std::string_view domain, Entry& entry, std::string& fault)
      : mSchema(schema), mDomain(domain), mEntry(entry), mFault(fault) {}

  bool read(std::string_view dn, std::span<const Attribute> attributes) {
    constexpr auto kFirst = static_cast<std::size_t>(Slot::ObjectClass) + 1;
    for (auto slot = kFirst; slot < mSchema.slots(); ++slot) {
      if (!readSlot(static_cast<Slot>(slot), attributes)) return false;
    }
    if (mSchema.mapsIDs()) mapIDs();
    if (mEntry.first(Slot::Name).empty()) return refuse("it has no name");
    if (mEntry.of(Slot::GUID).size() != 1) return refuse("it has no GUID");
    if (mEntry.of(Slot::UserID).size() > 1) return refuse("it has several user ids");
    mEntry.dn = dn;
    putLoginNameFirst();
    keepTexts();
    return true;
  }

 private:
  bool refuse(const std::string& fault) {
    mFault = fault;
    return false;
  }

  bool readSlot(Slot slot, std::span<const Attribute> attributes) {
    const auto& name = mSchema.attribute(slot);
    const bool isID = slot == Slot::UserID || slot == Slot::GroupID;
    if (name.empty() || (isID && mSchema.mapsIDs())) return true;
    for (const auto& attribute : attributes) {
      const auto options = optionsOf(attribute.name, name);
      if (!options) continue;
      if (isRange(*options)) {
        const auto range = readRange(*options);
        if (!range || range->first != 0) return refuse("its " + name + " has no beginning");
        if (range->last && slot != Slot::Members) return refuse("its " + name + " is cut short");
        if (range->last) mEntry.membersContinueAt = *range->last + 1;
      } else if (!options->empty()) {
        continue;  // another attribute, in some language for one
      }
      for (const auto value : attribute.values) {
        if (!add(slot, name, value)) return false;
      }
    }
    return true;
  }

  bool add(Slot slot, std::string_view attribute, std::string_view value) {
    if (slot == Slot::GUID) {
      auto guid = guidText(mSchema, value);
      if (!guid) return refuse("its GUID is none");
      mGUID = std::move(*guid);
      mEntry.values.push_back({slot, mGUID});
      return true;
    }
    if (slot == Slot::SecurityID) {
      auto text = securityID::text(value);
      if (!text || !mSecurityID.empty()) return refuse("its objectSid is none");
      mSecurityID = std::move(*text);
      mEntry.values.push_back({slot, mSecurityID});
      return true;
    }
    const auto which = [attribute] { return printable(attribute); };
    if (value.size() > kLongestValue) return refuse("a value of " + which() + " is too long");
    if (value.find('\0') != std::string_view::npos || !isUtf8(value)) {
      return refuse("a value of " + which() + " is no text");
    }
    if ((slot == Slot::UserID || slot == Slot::GroupID) && !accountID(value)) {
      return refuse("its " + which() + " is no id: " + printable(value));
    }
    mEntry.values.push_back({slot, value});
    return true;
  }

  void mapIDs() {
    const std::string_view sid = mSecurityID;
    if (sid.empty() || securityID::domain(sid) != mDomain) return;
    if (mEntry.type == Schema::Type::Group) return addMapped(Slot::GroupID, sid, mGroupID);
    addMapped(Slot::UserID, sid, mUserID);
    const auto primary = mEntry.first(Slot::PrimaryGroup);
    addMapped(Slot::GroupID, securityID::withNumber(sid, primary), mGroupID);
  }

  void addMapped(Slot slot, std::string_view sid, std::string& text) {
    const auto id = securityID::mappedID(sid);
    if (!id) return;
    text = std::to_string(*id);
    mEntry.values.insert(std::ranges::upper_bound(mEntry.values, slot, {}, &Entry::Value::slot),
                         {slot, text});
  }

  /// Of several names, which servers send in any order (RFC 4511, 4.1.7), the one in the DN.
  void putLoginNameFirst() {
    if (mEntry.of(Slot::Name).size() < 2) return;
    const auto names = std::ranges::equal_range(mEntry.values, Slot::Name, {}, &Entry::Value::slot);
    const auto name = std::ranges::find_if(
        names, [this](const Entry::Value& each) { return isCalled(mEntry, mSchema, each.text); });
    if (name != names.end()) std::rotate(names.begin(), name, name + 1);
  }

  /// Copies the texts out of the server's answer.
  void keepTexts() {
    auto length = mEntry.dn.size();
    for (const auto& value : mEntry.values) length += value.text.size();
    auto all = std::make_unique_for_overwrite<char[]>(length);
    char* next = all.get();
    const auto keep = [&next](std::string_view& text) {
      char* const begin = next;
      next = std::ranges::copy(text, begin).out;
      text = {begin, text.size()};
    };
    keep(mEntry.dn);
    for (auto& value : mEntry.values) keep(value.text);
    mEntry.all = std::move(all);
  }

  const Schema& mSchema;
  const std::string_view mDomain;
  Entry& mEntry;
  std::string& mFault;
  std::string mGUID;
  std::string mSecurityID;
  std::string mUserID;   ///< mapped
  std::string mGroupID;  ///< mapped
};

}  // namespace

bool isCalled(const Entry& entry, const Schema& schema, std::string_view name) {
  const auto dn = distinguishedName::canonical(entry.dn);
  return dn && distinguishedName::isCalled(*dn, schema.attribute(Slot::Name), name);
}

bool isRange(std::string_view options) {
  return ascii::isSame(options.substr(0, kRangeOption.size()), kRangeOption);
}

std::optional<ValueRange> readRange(std::string_view options) {
  if (!isRange(options)) return std::nullopt;
  options.remove_prefix(kRangeOption.size());
  const auto dash = std::min(options.find('-'), options.size());
  const auto first = accountID(options.substr(0, dash));
  const auto end = options.substr(std::min(dash + 1, options.size()));
  if (first && end == "*") return ValueRange{*first, std::nullopt};
  const auto last = accountID(end);
  if (!first || !last || *last < *first) return std::nullopt;
  return ValueRange{*first, last};
}

std::span<const Entry::Value> Entry::of(Slot slot) const {
  const auto begin = std::ranges::lower_bound(values, slot, {}, &Value::slot);
  const auto isOther = [slot](const Value& value) { return value.slot != slot; };
  return {begin, std::find_if(begin, values.end(), isOther)};
}

Strings Entry::texts(Slot slot) const {
  const auto found = of(slot);
  Strings result;
  result.reserve(found.size());
  for (const auto& each : found) result.emplace_back(each.text);
  return result;
}

std::string_view Entry::first(Slot slot) const {
  const auto found = std::ranges::lower_bound(values, slot, {}, &Value::slot);
  return found == values.end() || found->slot != slot ? std::string_view() : found->text;
}

void sort(Entries& entries) {
  struct Keyed {
    bool isGroup;
    std::uint64_t start;
    std::string_view name;
    std::shared_ptr<const Entry> entry;
  };
  const auto standsBefore = [](const Keyed& left, const Keyed& right) {
    if (left.isGroup != right.isGroup) return right.isGroup;
    if (left.start != right.start) return left.start < right.start;
    const int order = left.name.compare(right.name);
    if (order != 0) return order < 0;
    return left.entry->first(Slot::GUID) < right.entry->first(Slot::GUID);
  };
  std::vector<Keyed> keyed;
  keyed.reserve(entries.size());
  for (auto& entry : entries) {
    const bool isGroup = entry->type == Schema::Type::Group;
    const auto name = entry->first(Slot::Name);
    keyed.push_back({isGroup, startOfText(name), name, std::move(entry)});
  }
  std::ranges::sort(keyed, standsBefore);
  std::ranges::transform(keyed, entries.begin(), [](Keyed& each) { return std::move(each.entry); });
}

std::shared_ptr<Entry> readEntry(const Schemas& schemas, std::string_view domain,
                                 std::string_view dn, std::span<const Attribute> attributes,
                                 std::string& fault) {
  fault.clear();
  if (dn.empty() && attributes.empty()) {
    fault = "it can't be decoded";
    return nullptr;
  }
  const auto classes = valuesOf(attributes, "objectClass");
  if (classes.empty()) {
    fault = "it has no object class";
    return nullptr;
  }
  auto entry = std::make_shared<Entry>();
  if (schemas.users.takes(classes)) {
    entry->type = Schema::Type::User;
  } else if (schemas.groups.takes(classes)) {
    entry->type = Schema::Type::Group;
  } else {
    return nullptr;
  }
  if (dn.size() > kLongestName || !isUtf8(dn) || dn.find('\0') != std::string_view::npos) {
    fault = "its DN is none";
    return nullptr;
  }
  std::size_t count = 0;
  for (const auto& each : attributes) count += each.values.size();
  entry->values.reserve(count - classes.size());
  if (!EntryReader(schemas.of(entry->type), domain, *entry, fault).read(dn, attributes)) {
    return nullptr;
  }
  return entry;
}

std::optional<std::string> guidForFilter(const Schema& schema, std::string_view guid) {
  const auto bytes = parseUUID(guid);
  if (!bytes) return std::nullopt;
  if (!schema.hasBinaryGUIDs()) return uuidText(*bytes);
  const auto stored = swapped(*bytes);
  return std::string(stored.begin(), stored.end());
}

}  // namespace gatehall::ldap
