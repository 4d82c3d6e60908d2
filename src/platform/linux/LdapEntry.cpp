#include "platform/linux/LdapEntry.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ranges>

#include "platform/linux/AccountLine.h"
#include "platform/portable/NameBasedUUID.h"
#include "platform/portable/Utf8.h"

namespace gatehall {

namespace {

constexpr std::size_t kLongestValue = 65536;
constexpr std::size_t kLongestName = 8192;

/// Active Directory keeps the first three fields of a GUID in the order of little-endian machines.
UUIDBytes swapped(UUIDBytes bytes) {
  std::reverse(bytes.begin(), bytes.begin() + 4);
  std::reverse(bytes.begin() + 4, bytes.begin() + 6);
  std::reverse(bytes.begin() + 6, bytes.begin() + 8);
  return bytes;
}

std::optional<std::string> guidText(const LdapSchema& schema, std::string_view value) {
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

std::span<const std::string_view> valuesOf(std::span<const LdapAttribute> attributes,
                                           std::string_view name) {
  for (const auto& each : attributes) {
    if (std::ranges::equal(each.name, name, {}, [](char c) {
          return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        })) {
      return each.values;
    }
  }
  return {};
}

/// Reads an attribute's options ("member;range=0-1499"); false for those that make it another
/// attribute, in some language for one.
bool readOptions(std::string_view options, std::optional<std::uint32_t>& continueAt) {
  constexpr std::string_view kRange = "range=";
  if (options.empty()) return true;
  if (!options.starts_with(kRange)) return false;
  const auto end = options.substr(std::min(options.find('-'), options.size()));
  std::uint32_t last = 0;
  if (end.size() < 2 || end == "-*") return true;
  const auto [stop, error] = std::from_chars(end.data() + 1, end.data() + end.size(), last);
  if (error != std::errc() || last == UINT32_MAX) return false;
  continueAt = last + 1;
  return true;
}

class EntryReader {
 public:
  EntryReader(const LdapSchema& schema, LdapEntry& entry, std::string& fault)
      : mSchema(schema), mEntry(entry), mFault(fault) {}

  bool read(std::span<const LdapAttribute> attributes) {
    for (const auto& attribute : attributes) {
      const auto semicolon = std::min(attribute.name.find(';'), attribute.name.size());
      const auto name = attribute.name.substr(0, semicolon);
      std::optional<std::uint32_t> continueAt;
      const auto options = attribute.name.substr(std::min(semicolon + 1, attribute.name.size()));
      if (!readOptions(options, continueAt)) continue;
      for (const auto slot : mSchema.slotsOf(name)) {
        if (slot == LdapSlot::ObjectClass) continue;
        if (slot == LdapSlot::Members) mEntry.membersContinueAt = continueAt;
        for (const auto value : attribute.values) {
          if (!add(slot, name, value)) return false;
        }
      }
    }
    std::ranges::stable_sort(mEntry.values, {}, &LdapEntry::Value::slot);
    if (mEntry.first(LdapSlot::Name).empty()) return refuse("it has no name");
    if (mEntry.of(LdapSlot::GUID).size() != 1) return refuse("it has no GUID");
    return true;
  }

 private:
  bool refuse(const std::string& fault) {
    mFault = fault;
    return false;
  }

  bool add(LdapSlot slot, std::string_view attribute, std::string_view value) {
    if (slot == LdapSlot::GUID) {
      auto guid = guidText(mSchema, value);
      if (!guid) return refuse("its GUID is none");
      mEntry.values.push_back({slot, std::move(*guid)});
      return true;
    }
    const auto which = accountLine::printable(attribute);
    if (value.size() > kLongestValue) return refuse("a value of " + which + " is too long");
    if (value.find('\0') != std::string_view::npos || !isUtf8(value)) {
      return refuse("a value of " + which + " is no text");
    }
    if ((slot == LdapSlot::UserID || slot == LdapSlot::GroupID) && !accountLine::accountID(value)) {
      return refuse("its " + which + " is no id: " + accountLine::printable(value));
    }
    mEntry.values.push_back({slot, std::string(value)});
    return true;
  }

  const LdapSchema& mSchema;
  LdapEntry& mEntry;
  std::string& mFault;
};

}  // namespace

std::span<const LdapEntry::Value> LdapEntry::of(LdapSlot slot) const {
  const auto found = std::ranges::equal_range(values, slot, {}, &Value::slot);
  return {found.begin(), found.end()};
}

Strings LdapEntry::texts(LdapSlot slot) const {
  Strings result;
  for (const auto& each : of(slot)) result.push_back(each.text);
  return result;
}

std::string_view LdapEntry::first(LdapSlot slot) const {
  const auto found = of(slot);
  return found.empty() ? std::string_view() : std::string_view(found.front().text);
}

bool standsBefore(const LdapEntry& left, const LdapEntry& right) {
  if (left.type != right.type) return left.type == LdapSchema::Type::User;
  const int order = left.first(LdapSlot::Name).compare(right.first(LdapSlot::Name));
  if (order != 0) return order < 0;
  return left.first(LdapSlot::GUID) < right.first(LdapSlot::GUID);
}

std::shared_ptr<const LdapEntry> readEntry(const LdapSchemas& schemas, std::string_view dn,
                                           std::span<const LdapAttribute> attributes,
                                           std::string& fault) {
  fault.clear();
  if (dn.empty() && attributes.empty()) {
    fault = "it can't be decoded";
    return nullptr;
  }
  const auto classes = valuesOf(attributes, "objectclass");
  auto entry = std::make_shared<LdapEntry>();
  if (schemas.users.takes(classes)) {
    entry->type = LdapSchema::Type::User;
  } else if (schemas.groups.takes(classes)) {
    entry->type = LdapSchema::Type::Group;
  } else {
    return nullptr;
  }
  if (dn.size() > kLongestName || !isUtf8(dn) || dn.find('\0') != std::string_view::npos) {
    fault = "its DN is none";
    return nullptr;
  }
  entry->dn = dn;
  entry->values.reserve(attributes.size());
  if (!EntryReader(schemas.of(entry->type), *entry, fault).read(attributes)) return nullptr;
  return entry;
}

std::optional<std::string> guidForFilter(const LdapSchema& schema, std::string_view guid) {
  const auto bytes = parseUUID(guid);
  if (!bytes) return std::nullopt;
  if (!schema.hasBinaryGUIDs()) return uuidText(*bytes);
  const auto stored = swapped(*bytes);
  return std::string(stored.begin(), stored.end());
}

}  // namespace gatehall
