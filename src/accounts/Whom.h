#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <variant>

#include "portable/NameBasedUUID.h"

namespace gatehall {

/// By what an account is meant: a login name, an alias included, a user id or a GUID.
using Whom = std::variant<std::string, std::uint32_t, UUIDBytes>;

/// A text that can't mean anybody; the message says why.
class MeansNobody : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// What a text means: a decimal number from 0 to 4294967294 is a user id (4294967295 stands for no
/// user, chown(2)), 32 hexadecimal digits with hyphens are a GUID, and everything else is a login
/// name. Raises MeansNobody for an empty text and for a number that is no user id.
Whom whomMeant(const std::string& text);

/// The same in words: "ann", "1000", "00000000-0000-4000-8000-0000000A0000".
std::string whomText(const Whom& whom);

}  // namespace gatehall
