#include "linux/ldap/client/Referral.h"

#include <algorithm>

namespace gatehall::ldap {

std::optional<Referral> Referral::parse(std::string_view text) {
  const auto authority = text.find("://");
  if (authority == std::string_view::npos) return std::nullopt;
  const auto slash = std::min(text.find('/', authority + 3), text.size());
  auto server = URI::parse(text.substr(0, slash));
  // A server somewhere else has no say in which sockets of this machine are asked.
  if (!server || server->scheme == URI::Scheme::Ldapi) return std::nullopt;
  auto base = text.substr(std::min(slash + 1, text.size()));
  auto decoded = URI::percentDecoded(base.substr(0, base.find('?')));
  if (!decoded) return std::nullopt;
  return Referral{std::move(*server), std::move(*decoded)};
}

}  // namespace gatehall::ldap
