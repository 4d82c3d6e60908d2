#pragma once

#include <cstdint>
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

/// Whether it is a domain's own ("S-1-5-21-…-…-…").
bool isDomain(std::string_view text);

/// The domain that it is of; empty for what is of none, as the groups of every machine are
/// ("S-1-5-32-544").
std::string_view domain(std::string_view text);

/// The id that SSSD maps it to (sssd-ldap(5), ID MAPPING), by its defaults: each domain has 200000
/// ids, from a place that its own text says. Empty for what is of no domain, and for a last number
/// that is beyond them.
std::optional<std::uint32_t> mappedID(std::string_view text);

/// What is mapped to that id, of all that the domain can have; empty for none.
std::optional<std::string> withMappedID(std::string_view domain, std::uint32_t id);

}  // namespace gatehall::ldap::securityID
