#include "linux/ldap/client/URI.h"

#include <algorithm>
#include <charconv>

#include "base/Ascii.h"

namespace gatehall::ldap {

namespace {

constexpr std::uint16_t kPort = 389;
constexpr std::uint16_t kTlsPort = 636;

bool isHost(std::string_view host, std::string_view allowed) {
  return !host.empty() && std::ranges::all_of(host, [allowed](char c) {
    return ascii::isAlphanumeric(c) || allowed.find(c) != std::string_view::npos;
  });
}

bool readPort(std::string_view text, std::uint16_t& port) {
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end && port != 0;
}

/// Splits "HOST[:PORT]", where a host of colons stands in brackets.
bool readHostAndPort(std::string_view text, URI& uri) {
  if (text.starts_with('[')) {
    const auto bracket = text.find(']');
    if (bracket == std::string_view::npos) return false;
    uri.host = text.substr(1, bracket - 1);
    text.remove_prefix(bracket + 1);
    if (!isHost(uri.host, ":.%_-")) return false;
  } else {
    uri.host = text.substr(0, text.find(':'));
    text.remove_prefix(uri.host.size());
    if (!isHost(uri.host, ".-_")) return false;
  }
  return text.empty() || (text.starts_with(':') && readPort(text.substr(1), uri.port));
}

}  // namespace

std::optional<std::string> URI::percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '%') {
      decoded += text[index];
      continue;
    }
    const int high = index + 2 < text.size() ? ascii::hexadecimalValue(text[index + 1]) : -1;
    const int low = high >= 0 ? ascii::hexadecimalValue(text[index + 2]) : -1;
    if (low < 0 || high + low == 0) return std::nullopt;
    decoded += static_cast<char>(high * 16 + low);
    index += 2;
  }
  return decoded;
}

std::optional<URI> URI::parse(std::string_view text) {
  if (text.ends_with('/') && !text.ends_with("://")) text.remove_suffix(1);
  const auto separator = text.find("://");
  if (separator == std::string_view::npos) return std::nullopt;
  const auto scheme = text.substr(0, separator);
  const auto rest = text.substr(separator + 3);
  URI uri{std::string(text), Scheme::Ldap, {}, kPort};
  if (ascii::isSame(scheme, "ldapi")) {
    auto path = percentDecoded(rest);
    if (!path || !path->starts_with('/')) return std::nullopt;
    uri.scheme = Scheme::Ldapi;
    uri.host = std::move(*path);
    return uri;
  }
  if (ascii::isSame(scheme, "ldaps")) {
    uri.scheme = Scheme::Ldaps;
    uri.port = kTlsPort;
  } else if (!ascii::isSame(scheme, "ldap")) {
    return std::nullopt;
  }
  if (!readHostAndPort(rest, uri)) return std::nullopt;
  return uri;
}

}  // namespace gatehall::ldap
