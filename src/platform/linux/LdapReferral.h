#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/LdapURI.h"

namespace gatehall {

/// Where a server sends its clients for what it doesn't hold itself (RFC 4511, 4.1.10).
struct LdapReferral {
  LdapURI server;
  std::string base;  ///< DN to search below; "": the one that was asked about

  /// Reads "ldap[s]://HOST[:PORT]/DN…"; what stands behind the DN is not followed.
  static std::optional<LdapReferral> parse(std::string_view text);
};

}  // namespace gatehall
