#include "portable/formats/Certificate.h"

#include <algorithm>
#include <ctime>
#include <gnutls/x509.h>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "portable/LazyLibrary.h"

namespace gatehall {

namespace {

struct GnuTLS {
  LazyLibrary library{"libgnutls.so.30", "libgnutls30"};
#define GATEHALL_GNUTLS(name) \
  decltype(::gnutls_x509_crt_##name)* name = GATEHALL_FUNCTION(library, gnutls_x509_crt_##name)
  GATEHALL_GNUTLS(init);
  GATEHALL_GNUTLS(deinit);
  GATEHALL_GNUTLS(import);
  GATEHALL_GNUTLS(get_activation_time);
  GATEHALL_GNUTLS(get_expiration_time);
  GATEHALL_GNUTLS(check_hostname);
  GATEHALL_GNUTLS(check_issuer);
  GATEHALL_GNUTLS(list_import);
#undef GATEHALL_GNUTLS
};

const GnuTLS& gnutls() {
  static const GnuTLS functions;
  return functions;
}

struct Free {
  void operator()(gnutls_x509_crt_t certificate) const { gnutls().deinit(certificate); }
};

using Owned = std::unique_ptr<gnutls_x509_crt_int, Free>;

/// The library declares it changeable, and changes nothing.
gnutls_datum_t viewOf(std::string_view bytes) {
  return {reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())),
          static_cast<unsigned>(bytes.size())};
}

/// nullptr for what is none.
Owned imported(std::string_view bytes) {
  gnutls_x509_crt_t made = nullptr;
  if (bytes.size() > std::numeric_limits<unsigned>::max() || gnutls().init(&made) < 0) return {};
  Owned certificate(made);
  const auto view = viewOf(bytes);
  return gnutls().import(made, &view, GNUTLS_X509_FMT_DER) < 0 ? nullptr : std::move(certificate);
}

std::chrono::sys_seconds dateOf(std::time_t time) {
  return std::chrono::sys_seconds(std::chrono::seconds(time));
}

}  // namespace

std::optional<Certificate> readCertificate(std::string_view bytes, const std::string& host) {
  const auto certificate = imported(bytes);
  if (!certificate) return std::nullopt;
  constexpr auto kNone = static_cast<std::time_t>(-1);
  const auto from = gnutls().get_activation_time(certificate.get());
  const auto until = gnutls().get_expiration_time(certificate.get());
  if (from == kNone || until == kNone) return std::nullopt;
  return Certificate{dateOf(from), dateOf(until),
                     gnutls().check_hostname(certificate.get(), host.c_str()) != 0};
}

std::optional<bool> isIssuerAmong(std::string_view bytes, std::string_view authorities) {
  constexpr unsigned kMost = 4096;
  const auto certificate = imported(bytes);
  if (!certificate || authorities.size() > std::numeric_limits<unsigned>::max()) {
    return std::nullopt;
  }
  std::vector<gnutls_x509_crt_t> made(kMost);
  unsigned count = kMost;
  const auto view = viewOf(authorities);
  const int read = gnutls().list_import(made.data(), &count, &view, GNUTLS_X509_FMT_PEM,
                                        GNUTLS_X509_CRT_LIST_IMPORT_FAIL_IF_EXCEED);
  if (read <= 0) return std::nullopt;
  made.resize(static_cast<std::size_t>(read));
  const std::vector<Owned> issuers(made.begin(), made.end());
  return std::ranges::any_of(issuers, [&](const auto& issuer) {
    return gnutls().check_issuer(certificate.get(), issuer.get()) != 0;
  });
}

}  // namespace gatehall
