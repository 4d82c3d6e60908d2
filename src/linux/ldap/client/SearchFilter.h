#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The text of search filters (RFC 4515).
namespace gatehall::ldap::searchFilter {

/// The value as it stands in a filter: what means something there, and what is no printable ASCII,
/// as a backslash and two digits.
std::string escaped(std::string_view value);

/// Entries that have the attribute with that value. The value is taken literally.
std::string equals(std::string_view attribute, std::string_view value);

/// Entries that have the attribute with a value that contains that one.
std::string contains(std::string_view attribute, std::string_view value);

/// Entries that any of the filters takes; one that takes none when there are no filters.
std::string anyOf(std::span<const std::string> filters);

/// Many servers answer no more than 500 entries to one search.
inline constexpr std::size_t kMostTerms = 500;

/// Filters that together take what any of the terms does, each of so many terms: few enough for a
/// server to read, and for the entries of one term each to be answered.
std::vector<std::string> anyOfInParts(std::span<const std::string> terms,
                                      std::size_t mostTerms = kMostTerms);

/// Whether the text can be one filter, whole: nothing in it ends the parentheses that it stands in.
/// What is between them is the server's to judge.
bool isWhole(std::string_view text);

/// Entries that both filters take.
std::string bothOf(std::string_view one, std::string_view other);

}  // namespace gatehall::ldap::searchFilter
