#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Value.h"
#include "platform/linux/LdapConnection.h"
#include "platform/linux/LdapSchema.h"

namespace gatehall {

/// A user or a group as the directory holds it. It never changes. There may be very many, so their
/// texts stand side by side.
struct LdapEntry {
  struct Value {
    LdapSlot slot;
    std::string_view text;
  };

  LdapEntry() = default;
  LdapEntry(const LdapEntry&) = delete;
  LdapEntry& operator=(const LdapEntry&) = delete;

  LdapSchema::Type type = LdapSchema::Type::User;
  std::string_view dn;
  std::vector<Value> values;          ///< in the order of the slots
  std::unique_ptr<const char[]> all;  ///< the texts
  /// Where the rest of the members begins, of a server that hands out only so many at once.
  std::optional<std::uint32_t> membersContinueAt;

  std::span<const Value> of(LdapSlot slot) const;
  Strings texts(LdapSlot slot) const;

  /// The first value; empty when there is none.
  std::string_view first(LdapSlot slot) const;
};

using LdapEntries = std::vector<std::shared_ptr<const LdapEntry>>;

/// Puts entries into the order of answers: users in front of groups, then by name.
void sort(LdapEntries& entries);

/// What a directory's entries are: its schemas of users and of groups.
struct LdapSchemas {
  explicit LdapSchemas(const LdapSettings& settings)
      : users(settings, LdapSchema::Type::User), groups(settings, LdapSchema::Type::Group) {}

  const LdapSchema& of(LdapSchema::Type type) const {
    return type == LdapSchema::Type::User ? users : groups;
  }

  LdapSchema users;
  LdapSchema groups;
};

/// Reads what a server sent. nullptr for an entry that is neither user nor group (the fault is
/// empty then) and for one that can't be relied on: without a name or a GUID, with values of
/// unbearable length or that are no UTF-8, with an id that is none.
std::shared_ptr<const LdapEntry> readEntry(const LdapSchemas& schemas, std::string_view dn,
                                           std::span<const LdapAttribute> attributes,
                                           std::string& fault);

/// The bytes of a GUID's text as the schema's filter has to spell them; empty for what is no GUID.
std::optional<std::string> guidForFilter(const LdapSchema& schema, std::string_view guid);

}  // namespace gatehall
