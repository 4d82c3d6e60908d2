#include "platform/linux/LdapReferral.h"

#include <algorithm>

namespace gatehall {

std::optional<LdapReferral> LdapReferral::parse(std::string_view text) {
  const auto authority = text.find("://");
  if (authority == std::string_view::npos) return std::nullopt;
  const auto slash = std::min(text.find('/', authority + 3), text.size());
  auto server = LdapURI::parse(text.substr(0, slash));
  // A server somewhere else has no say in which sockets of this machine are asked.
  if (!server || server->scheme == LdapURI::Scheme::Ldapi) return std::nullopt;
  auto base = text.substr(std::min(slash + 1, text.size()));
  auto decoded = LdapURI::percentDecoded(base.substr(0, base.find('?')));
  if (!decoded) return std::nullopt;
  return LdapReferral{std::move(*server), std::move(*decoded)};
}

}  // namespace gatehall
