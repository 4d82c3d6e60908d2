#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gatehall::ldap {

/// Where a directory server listens (RFC 4516, without what comes behind the port).
struct URI {
  enum class Scheme { Ldap, Ldaps, Ldapi };

  std::string text;  ///< as it was written, without a slash at its end
  Scheme scheme = Scheme::Ldap;
  std::string host;  ///< a name or an address; of ldapi the path of the socket
  std::uint16_t port = 0;

  /// Reads "ldap://HOST[:PORT]", "ldaps://HOST[:PORT]" or "ldapi://SOCKET", the socket's slashes
  /// percent-encoded, the scheme in any case (RFC 3986, 3.1), a slash at the end or none. Empty for
  /// anything else.
  static std::optional<URI> parse(std::string_view text);

  /// The text with its percent-encoded bytes as they are meant (RFC 3986, 2.1); empty when one is
  /// broken or NUL.
  static std::optional<std::string> percentDecoded(std::string_view text);
};

}  // namespace gatehall::ldap
