#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/ldap/client/Connection.h"
#include "linux/ldap/client/Schema.h"

namespace gatehall::ldap {

/// A user or a group as the directory holds it. It never changes. There may be very many, so their
/// texts stand side by side.
struct Entry {
  struct Value {
    Slot slot;
    std::string_view text;
  };

  Entry() = default;
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;

  Schema::Type type = Schema::Type::User;
  std::string_view dn;
  std::vector<Value> values;          ///< in the order of the slots
  std::unique_ptr<const char[]> all;  ///< the texts
  /// Where the rest of the members begins, of a server that hands out only so many at once.
  std::optional<std::uint32_t> membersContinueAt;
  /// A local account is the copy of this one and stands for it: a member by its name, no record.
  bool hasLocalCopy = false;

  std::span<const Value> of(Slot slot) const;
  Strings texts(Slot slot) const;

  /// The first value; empty when there is none.
  std::string_view first(Slot slot) const;
};

using Entries = std::vector<std::shared_ptr<const Entry>>;

/// Puts entries into the order of answers: users in front of groups, then by name.
void sort(Entries& entries);

/// What a directory's entries are: its schemas of users and of groups.
struct Schemas {
  explicit Schemas(const Settings& settings)
      : users(settings, Schema::Type::User), groups(settings, Schema::Type::Group) {}

  const Schema& of(Schema::Type type) const { return type == Schema::Type::User ? users : groups; }

  Schema users;
  Schema groups;
};

/// Whether the name is the one by which the entry's DN calls it.
bool isCalled(const Entry& entry, const Schema& schema, std::string_view name);

/// Reads what a server sent. Of several names, the one in the DN is the first. Where ids are mapped
/// the entries of the domain have one, and others none. nullptr for an entry
/// that is neither user nor group (the fault is empty then) and for one that can't be relied on:
/// without a name or a GUID, with values of unbearable length or that are no UTF-8, with an id or
/// an objectSid that is none, with several user ids, with values that have no beginning or, other
/// than members' DNs, no end.
std::shared_ptr<Entry> readEntry(const Schemas& schemas, std::string_view domain,
                                 std::string_view dn, std::span<const Attribute> attributes,
                                 std::string& fault);

/// Which values of an attribute a server hands out that gives only so many at once, counted from 0.
struct ValueRange {
  std::uint32_t first = 0;
  std::optional<std::uint32_t> last;  ///< empty: to the end
};

/// Whether an attribute's options ("range=0-1499") say so; reads them, empty for what is no range.
bool isRange(std::string_view options);
std::optional<ValueRange> readRange(std::string_view options);

/// The bytes of a GUID's text as the schema's filter has to spell them; empty for what is no GUID.
std::optional<std::string> guidForFilter(const Schema& schema, std::string_view guid);

}  // namespace gatehall::ldap
