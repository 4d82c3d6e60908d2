#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gatehall {

using UUIDBytes = std::array<std::uint8_t, 16>;

/// The version-5 UUID of a name in a namespace (RFC 4122, 4.3): the same for the same two, always.
UUIDBytes nameBasedUUID(const UUIDBytes& nameSpace, std::string_view name);

/// True for a UUID of the kind that nameBasedUUID makes.
bool isNameBased(const UUIDBytes& uuid);

/// 32 upper-case hexadecimal digits with hyphens at 8-4-4-4-12.
std::string uuidText(const UUIDBytes& uuid);

/// Reads that form, digits in either case; empty for anything else.
std::optional<UUIDBytes> parseUUID(std::string_view text);

/// Reads 32 hexadecimal digits without hyphens; empty for anything else.
std::optional<UUIDBytes> parseHexadecimal(std::string_view digits);

}  // namespace gatehall
