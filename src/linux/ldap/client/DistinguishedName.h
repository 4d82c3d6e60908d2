#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Distinguished names (RFC 4514), which servers hand out in spellings of their own.
namespace gatehall::ldap::distinguishedName {

/// The name spelled in one way: attributes and ASCII letters in lower case, without optional
/// spaces, escapes only where they are needed. Two names that differ only in spelling give the same
/// text. Empty for what is no distinguished name; the empty name is one.
std::optional<std::string> canonical(std::string_view name);

/// Whether the name is the base or one below it, both in their canonical spelling.
bool isWithin(std::string_view name, std::string_view base);

/// The same by any comparison that a server may make: types can have several names, and values that
/// differ in spaces or in the case of other letters than ASCII's can be equal.
bool mayBeWithin(std::string_view name, std::string_view base);

/// Whether the entry is called after that value of the attribute: it stands in the first part of
/// its name, which is in its canonical spelling. ASCII letters in either case are the same.
bool isCalled(std::string_view name, std::string_view attribute, std::string_view value);

}  // namespace gatehall::ldap::distinguishedName
