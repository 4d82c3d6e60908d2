#pragma once

#include <optional>

#include "gatehall/base/Value.h"
#include "linux/ldap/Directory.h"

namespace gatehall::ldap {

/// The user's policy as DirectoryRecord::passwordPolicy hands it out, from the shadow fields, from
/// those of the password-policy overlay (draft-behera-ldap-password-policy) and from Active
/// Directory's. Raises as Directory::search.
std::optional<Dictionary> passwordPolicyOf(Directory& directory, const Entry& user);

enum class Standing { Usable, Locked, Expired };

/// Whether the account is locked or, if not, past its end. A lock by failed passwords lasts as long
/// as the policy says; where that can't be known, it doesn't end. Raises as Directory::search.
Standing standingOf(Directory& directory, const Entry& user);

}  // namespace gatehall::ldap
