#pragma once

#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "linux/ldap/Directory.h"

namespace gatehall::ldap {

/// Binds as the user, on a connection of its own. The empty password is never sent: servers take a
/// bind without one for an anonymous one, and accept it from anybody. It is the account's when the
/// entry says that the account has no password. Raises as Directory::search.
bool verifyPassword(Directory& directory, const Entry& user, std::string_view password,
                    DirectoryError& error);

/// Binds as the user and changes the password (RFC 3062). Raises the same way.
bool changePassword(Directory& directory, const Entry& user, std::string_view oldPassword,
                    std::string_view newPassword, DirectoryError& error);

}  // namespace gatehall::ldap
