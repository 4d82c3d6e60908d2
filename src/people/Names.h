#pragma once

#include <cstdint>
#include <string>

#include "listing/ListedUser.h"

namespace gatehall {

/// What others say of a user, a name most often, as it can stand in a line of ours: in one line, at
/// most 128 UTF-16 units long, and without what would turn the direction of its neighbours.
std::string inOneLine(const std::string& text);

/// What a user is shown by: the long name, else the short one, else the user id; in one line.
std::string shownName(const ListedUser& user);

/// The first letters of a name's first and last word, or of its only one; of scripts whose letters
/// join, the first alone. Of words that spaces part. "" of a name without any.
std::string initials(const std::string& name);

/// Red, green and blue, from the highest of three bytes down: what stands behind the initials, the
/// same for a user every time. White letters are legible on it.
std::uint32_t faceColour(const ListedUser& user);

}  // namespace gatehall
