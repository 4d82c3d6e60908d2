#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "linux/ldap/client/URI.h"

namespace gatehall::ldap {

/// Where a server sends its clients for what it doesn't hold itself (RFC 4511, 4.1.10).
struct Referral {
  URI server;
  std::string base;  ///< DN to search below; "": the one that was asked about

  /// Reads "ldap[s]://HOST[:PORT]/DN…"; what stands behind the DN is not followed.
  static std::optional<Referral> parse(std::string_view text);
};

}  // namespace gatehall::ldap
