#pragma once

#include <optional>

#include "gatehall/base/Value.h"
#include "linux/ldap/Directory.h"

namespace gatehall::ldap {

/// The user's policy as DirectoryRecord::passwordPolicy hands it out, from the shadow fields, from
/// those of the password-policy overlay (draft-behera-ldap-password-policy) and from Active
/// Directory's. Raises as Directory::search.
std::optional<Dictionary> passwordPolicyOf(Directory& directory, const Entry& user);

/// Whether the account is locked for good or past its end.
bool isDisabled(const Entry& user, Date now);

}  // namespace gatehall::ldap
