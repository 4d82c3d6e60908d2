#pragma once

#include <string_view>

namespace gatehall::local {

/// True for what crypt(5) can have made: not empty, and no mark that stands for "no password".
bool isPasswordHash(std::string_view text);

/// True when the password gives that hash (crypt(3)), found out in a time that doesn't depend on
/// where the two differ. Raises PlatformException when hashing is not available.
bool passwordMatchesHash(std::string_view password, std::string_view hash);

}  // namespace gatehall::local
