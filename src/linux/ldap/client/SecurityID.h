#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Active Directory's security identifiers ("S-1-5-21-…-513"), whose last number tells an account
/// or a group from the others of its domain.
namespace gatehall::ldap::securityID {

/// The text of what servers hold; empty for what is none.
std::optional<std::string> text(std::string_view bytes);

/// What servers hold, of such a text.
std::string bytes(std::string_view text);

/// The last number.
std::string_view number(std::string_view text);

/// The same domain's with another last number.
std::string withNumber(std::string_view text, std::string_view number);

}  // namespace gatehall::ldap::securityID
