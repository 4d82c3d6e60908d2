#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace gatehall {

/// What a certificate says of itself, whoever vouches for that.
struct Certificate {
  std::chrono::sys_seconds from;   ///< it is good from then
  std::chrono::sys_seconds until;  ///< to then
  bool isForHost = false;          ///< that was asked about
};

/// Reads an X.509 certificate (RFC 5280, DER) of a server that is called by that host name, or IP
/// address (RFC 6125). Empty for what is none. Raises PlatformException when the library that reads
/// it, GnuTLS, is missing.
std::optional<Certificate> readCertificate(std::string_view bytes, const std::string& host);

/// Whether one of the authorities' certificates (PEM) is that of who issued the certificate (DER),
/// as far as both say so. Empty where either can't be read, and for more authorities than a machine
/// has. Raises as above.
std::optional<bool> isIssuerAmong(std::string_view bytes, std::string_view authorities);

}  // namespace gatehall
