#pragma once

#include <optional>

#include "platform/Value.h"
#include "platform/linux/LdapDirectory.h"

namespace gatehall {

/// The user's policy as DirectoryRecord::passwordPolicy hands it out, from the shadow fields, from
/// those of the password-policy overlay (draft-behera-ldap-password-policy) and from Active
/// Directory's. Raises as LdapDirectory::search.
std::optional<Dictionary> passwordPolicyOf(LdapDirectory& directory, const LdapEntry& user);

/// Whether the account is locked for good or past its end.
bool isDisabled(const LdapEntry& user, Date now);

}  // namespace gatehall
