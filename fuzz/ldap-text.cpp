// What goes into LDAP filters, and distinguished names, server URIs and referrals as servers send
// them.

#include <string>

#include "fuzz/Input.h"
#include "linux/ldap/client/DistinguishedName.h"
#include "linux/ldap/client/Referral.h"
#include "linux/ldap/client/SearchFilter.h"

namespace {

int digitValue(char c) { return c <= '9' ? c - '0' : c - 'a' + 10; }

/// What a server makes of an escaped value (RFC 4515, section 3).
std::string unescaped(std::string_view text) {
  std::string value;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const char c = text[index];
    gatehall::fuzz::require(c >= ' ' && c < 0x7F && c != '*' && c != '(' && c != ')');
    if (c != '\\') {
      value += c;
      continue;
    }
    gatehall::fuzz::require(index + 2 < text.size());
    value += static_cast<char>(digitValue(text[index + 1]) * 16 + digitValue(text[index + 2]));
    index += 2;
  }
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace gatehall;
  const auto text = fuzz::text(data, size);
  fuzz::require(unescaped(ldap::searchFilter::escaped(text)) == text);
  const auto filter = ldap::searchFilter::equals("uid", text);
  fuzz::require(filter.starts_with("(uid=") && filter.find(')') == filter.size() - 1);
  if (const auto name = ldap::distinguishedName::canonical(text)) {
    fuzz::require(ldap::distinguishedName::canonical(*name) == *name);
  }
  if (const auto uri = ldap::URI::parse(text)) fuzz::require(!uri->host.empty());
  if (const auto referral = ldap::Referral::parse(text)) {
    fuzz::require(referral->server.scheme != ldap::URI::Scheme::Ldapi);
  }
  return 0;
}
