#include "portable/formats/Certificate.h"

#include <ctime>
#include <gnutls/x509.h>
#include <limits>
#include <memory>

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
#undef GATEHALL_GNUTLS
};

const GnuTLS& gnutls() {
  static const GnuTLS functions;
  return functions;
}

struct Free {
  void operator()(gnutls_x509_crt_t certificate) const { gnutls().deinit(certificate); }
};

std::chrono::sys_seconds dateOf(std::time_t time) {
  return std::chrono::sys_seconds(std::chrono::seconds(time));
}

}  // namespace

std::optional<Certificate> readCertificate(std::string_view bytes, const std::string& host) {
  if (bytes.size() > std::numeric_limits<unsigned>::max()) return std::nullopt;
  gnutls_x509_crt_t made = nullptr;
  if (gnutls().init(&made) < 0) return std::nullopt;
  const std::unique_ptr<gnutls_x509_crt_int, Free> certificate(made);
  // The library declares it changeable, and changes nothing.
  const gnutls_datum_t text{reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())),
                            static_cast<unsigned>(bytes.size())};
  if (gnutls().import(made, &text, GNUTLS_X509_FMT_DER) < 0) return std::nullopt;
  constexpr auto kNone = static_cast<std::time_t>(-1);
  const auto from = gnutls().get_activation_time(made);
  const auto until = gnutls().get_expiration_time(made);
  if (from == kNone || until == kNone) return std::nullopt;
  return Certificate{dateOf(from), dateOf(until), gnutls().check_hostname(made, host.c_str()) != 0};
}

}  // namespace gatehall
