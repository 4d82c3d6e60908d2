#include "linux/ldap/client/Connection.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "base/Ascii.h"
#include "linux/files/FileDescriptor.h"
#include "linux/files/HostPath.h"
#include "linux/ldap/client/Credentials.h"
#include "linux/ldap/client/Dialogue.h"
#include "linux/ldap/client/Library.h"
#include "linux/ldap/client/Searches.h"
#include "linux/records/NetworkNode.h"
#include "portable/formats/Certificate.h"

namespace gatehall::ldap {

namespace {

/// The longest message that a server may send; a group of half a million members fits.
constexpr ber_len_t kLongestMessage = ber_len_t{64} << 20U;

const Library& library() { return Library::get(); }

/// Maps the library, which takes what a process may run out of.
void mapLibrary(const URI& server) {
  try {
    Library::get();
  } catch (const PlatformException& failure) {
    throw DirectoryUnreachable(server.text + ": " + failure.what());
  }
}

template <class Type>
void setOption(LDAP* session, int option, const Type& value, const URI& server) {
  if (library().set_option(session, option, &value) != LDAP_OPT_SUCCESS) {
    throw DirectoryUnreachable(server.text + ": TLS can't be set up");
  }
}

/// A session over a new connection, whatever the machine's ldap.conf says.
std::unique_ptr<Dialogue> startDialogue(const URI& server, const std::string& root,
                                        Deadline deadline) {
  auto socket = connectTo(server, root, deadline);
  mapLibrary(server);
  auto session = openSession(std::move(socket), server.text.c_str());
  if (!session.ldap) throw DirectoryUnreachable(server.text + ": no session");
  auto dialogue = std::make_unique<Dialogue>(server, std::move(session));
  auto* ldap = dialogue->ldap();
  const int version = LDAP_VERSION3;
  const int never = LDAP_DEREF_NEVER;
  const int unlimited = LDAP_NO_LIMIT;
  setOption(ldap, LDAP_OPT_PROTOCOL_VERSION, version, server);
  library().set_option(ldap, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  setOption(ldap, LDAP_OPT_DEREF, never, server);
  setOption(ldap, LDAP_OPT_SIZELIMIT, unlimited, server);
  setOption(ldap, LDAP_OPT_TIMELIMIT, unlimited, server);
  Sockbuf* buffer = nullptr;
  auto longest = kLongestMessage;
  library().get_option(ldap, LDAP_OPT_SOCKBUF, &buffer);
  library().ber_sockbuf_ctrl(buffer, LBER_SB_OPT_SET_MAX_INCOMING, &longest);
  return dialogue;
}

/// The number of a new file in memory, or -1 with errno.
int makeMemoryFile() {
  // A machine may have no others than those that can't be executed (vm.memfd_noexec); before Linux
  // 6.3 there are none. MFD_NOEXEC_SEAL of linux/memfd.h, which the C library may be older than.
  constexpr unsigned kNeverExecuted = 0x0008;
  const int number = memfd_create("gatehall", MFD_CLOEXEC | kNeverExecuted);
  return number < 0 && errno == EINVAL ? memfd_create("gatehall", MFD_CLOEXEC) : number;
}

/// A file in memory alone: the library reads a certificate and its key by their paths.
class MemoryFile {
 public:
  /// Raises std::system_error when the content can't be held there.
  explicit MemoryFile(std::string_view content) : mFile(makeMemoryFile()) {
    if (!mFile.isOpen()) throw std::system_error(errno, std::generic_category());
    while (!content.empty()) {
      const auto count = write(mFile.number(), content.data(), content.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw std::system_error(errno, std::generic_category());
      content.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  std::string path() const { return "/proc/self/fd/" + std::to_string(mFile.number()); }

 private:
  FileDescriptor mFile;
};

/// Has the session, which is set up without, show servers the certificate.
void showCertificate(const Dialogue& dialogue, const Settings& settings,
                     const ClientCertificate& certificate) try {
  const MemoryFile chain(certificate.chain);
  const MemoryFile key(certificate.key->view());
  auto* session = dialogue.ldap();
  const auto isSet = [&](int option, const auto* value) {
    return library().set_option(session, option, value) == LDAP_OPT_SUCCESS;
  };
  const int isServer = 0;
  if (isSet(LDAP_OPT_X_TLS_CERTFILE, chain.path().c_str()) &&
      isSet(LDAP_OPT_X_TLS_KEYFILE, key.path().c_str()) &&
      isSet(LDAP_OPT_X_TLS_NEWCTX, &isServer)) {
    return;
  }
  throw DirectoryUnreachable(dialogue.server().text +
                             ": TLS can't be set up: " + settings.certificateFile + " and " +
                             settings.keyFile + " are no certificate and its key in PEM");
} catch (const std::system_error& failure) {
  throw DirectoryUnreachable(dialogue.server().text +
                             ": TLS can't be set up: " + settings.certificateFile +
                             " and its key can't be held in memory: " + failure.code().message());
}

/// Makes the connection one of TLS, as far as the server's certificate is none of the matter, or is
/// accepted: false where it isn't, or the server breaks off.
bool negotiateTls(const Dialogue& dialogue, const Settings& settings, const std::string& root,
                  Deadline deadline, const ClientCertificate* certificate) {
  const auto& server = dialogue.server();
  auto* session = dialogue.ldap();
  const bool isVerified = settings.tls == Settings::Tls::Verified;
  if (isVerified && !library().takesLocalhostAsItStands &&
      ascii::isSame(server.host, "localhost")) {
    throw DirectoryUnreachable(server.text +
                               ": TLS can't be set up: whether a certificate is for localhost "
                               "can't be told here, for 127.0.0.1 it can");
  }
  const int require = isVerified ? LDAP_OPT_X_TLS_HARD : LDAP_OPT_X_TLS_NEVER;
  setOption(session, LDAP_OPT_X_TLS_REQUIRE_CERT, require, server);
  // The subject's common name is for certificates without other names (RFC 6125, 6.4.4).
  const int names = LDAP_OPT_X_TLS_TRY;
  setOption(session, LDAP_OPT_X_TLS_REQUIRE_SAN, names, server);
  const auto caFile = hostPath(root, settings.caFile);
  if (library().set_option(session, LDAP_OPT_X_TLS_CACERTFILE, caFile.c_str()) !=
      LDAP_OPT_SUCCESS) {
    throw DirectoryUnreachable(server.text + ": TLS can't be set up");
  }
  setOption(session, LDAP_OPT_X_TLS_PROTOCOL_MIN, LDAP_OPT_X_TLS_PROTOCOL_TLS1_2, server);
  const int isServer = 0;
  if (library().set_option(session, LDAP_OPT_X_TLS_NEWCTX, &isServer) != LDAP_OPT_SUCCESS) {
    throw DirectoryUnreachable(server.text + ": TLS can't be set up; is " + caFile + " readable?");
  }
  if (certificate != nullptr) showCertificate(dialogue, settings, *certificate);
  if (server.scheme == URI::Scheme::Ldap) {
    int operation = 0;
    const int status = library().start_tls(session, nullptr, nullptr, &operation);
    const auto result = dialogue.finish(status, operation, deadline);
    if (!result.isSuccess()) throw DirectoryUnreachable(server.text + ": no TLS: " + result.text);
  }
  dialogue.transport().waitsUntil = deadline;
  const int status = library().install_tls(session);
  dialogue.transport().waitsUntil.reset();
  return status == LDAP_SUCCESS;
}

std::string dayOf(std::chrono::sys_seconds time) {
  const std::chrono::year_month_day day(std::chrono::floor<std::chrono::days>(time));
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(day.year()),
                static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
  return text.data();
}

/// Whether it is known that the certificate's issuer is none of the authorities in the file.
bool isByNoneOf(std::string_view certificate, const std::string& file) {
  constexpr std::size_t kLargest = std::size_t{16} << 20U;
  struct stat status {};
  int error = 0;
  const auto opened = openRegularFile(file, Symlinks::Follow, status, error);
  const auto authorities = error == 0 ? readWhole(opened, kLargest, error) : std::nullopt;
  return authorities && isIssuerAmong(certificate, *authorities) == std::optional(false);
}

/// What is wrong with the certificate of a server that was not accepted, which is looked at over a
/// connection on which nothing else is done.
std::string faultOfCertificate(const URI& server, Settings settings, const std::string& root,
                               Deadline deadline) {
  settings.tls = Settings::Tls::Unverified;
  const auto dialogue = startDialogue(server, root, deadline);
  if (!negotiateTls(*dialogue, settings, root, deadline, nullptr)) return "the server breaks off";
  berval bytes{};
  library().get_option(dialogue->ldap(), LDAP_OPT_X_TLS_PEERCERT, &bytes);
  const Owned<char> owner(bytes.bv_val);
  const auto certificate = readCertificate(textOf(bytes), server.host);
  const auto now = std::chrono::system_clock::now();
  if (certificate && now < certificate->from) {
    return "its certificate is not valid before " + dayOf(certificate->from);
  }
  if (certificate && now > certificate->until) {
    return "its certificate has expired on " + dayOf(certificate->until);
  }
  if (certificate && !certificate->isForHost) return "its certificate is not for " + server.host;
  if (certificate && isByNoneOf(textOf(bytes), hostPath(root, settings.caFile))) {
    return "its certificate is by no authority of " + settings.caFile;
  }
  return "its certificate is not accepted";
}

/// Why TLS could not be negotiated.
std::string whyRefused(const Dialogue& dialogue, const Settings& settings, const std::string& root,
                       Deadline deadline) {
  const auto isLate = [&] { return std::chrono::steady_clock::now() >= deadline; };
  if (isLate()) return "no answer in time";
  const auto& server = dialogue.server();
  if (settings.tls == Settings::Tls::Unverified) return "the server breaks off";
  try {
    auto fault = faultOfCertificate(server, settings, root, deadline);
    if (!isLate()) return fault;
  } catch (const PlatformException& failure) {
    return std::string("its certificate is not accepted; looked at once more: ") + failure.what();
  }
  return "its certificate is not accepted";
}

/// Sets TLS up as the settings ask for.
void startTls(const Dialogue& dialogue, const Settings& settings, const std::string& root,
              Deadline deadline, const ClientCertificate* certificate) {
  if (negotiateTls(dialogue, settings, root, deadline, certificate)) return;
  throw DirectoryUnreachable(dialogue.server().text +
                             ": TLS fails: " + whyRefused(dialogue, settings, root, deadline));
}

}  // namespace

std::unique_ptr<Connection> Connection::open(const Settings& settings, const URI& server,
                                             const std::string& root, Deadline deadline,
                                             const ClientCertificate* certificate) {
  auto dialogue = startDialogue(server, root, deadline);
  const bool isPlain = settings.tls == Settings::Tls::Off;
  // A socket of the machine itself needs no encryption.
  if (server.scheme == URI::Scheme::Ldaps || (server.scheme == URI::Scheme::Ldap && !isPlain)) {
    try {
      startTls(*dialogue, settings, root, deadline, certificate);
    } catch (const ConnectionLost& lost) {
      throw DirectoryUnreachable(lost.what());
    }
  }
  return std::unique_ptr<Connection>(new Connection(std::move(dialogue), settings.pageSize));
}

Connection::Connection(std::unique_ptr<Dialogue> dialogue, std::optional<std::int32_t> pageSize)
    : mDialogue(std::move(dialogue)), mPageSize(pageSize) {}

Connection::~Connection() = default;

const URI& Connection::server() const { return mDialogue->server(); }

BindResult Connection::bind(const std::string& name, std::string_view password, Deadline deadline) {
  auto* ldap = mDialogue->ldap();
  std::string oid(LDAP_CONTROL_PASSWORDPOLICYREQUEST);
  LDAPControl policyRequest{};
  policyRequest.ldctl_oid = oid.data();
  std::array<LDAPControl*, 2> controls{&policyRequest, nullptr};
  auto credentials = viewOf(password);
  int operation = 0;
  mDialogue->check(library().sasl_bind(ldap, name.c_str(), LDAP_SASL_SIMPLE, &credentials,
                                       controls.data(), nullptr, &operation));
  auto answer = mDialogue->parse(mDialogue->wait(operation, deadline).get());
  BindResult bound{std::move(answer.result), BindResult::Policy::Nothing};
  auto* control =
      library().control_find(LDAP_CONTROL_PASSWORDPOLICYRESPONSE, answer.controls.get(), nullptr);
  if (control == nullptr) return bound;
  LDAPPasswordPolicyError error = PP_noError;
  ber_int_t expire = 0;
  ber_int_t grace = 0;
  if (library().parse_passwordpolicy_control(ldap, control, &expire, &grace, &error) !=
      LDAP_SUCCESS) {
    return bound;
  }
  if (error == PP_passwordExpired) bound.policy = BindResult::Policy::Expired;
  if (error == PP_accountLocked) bound.policy = BindResult::Policy::Locked;
  if (error == PP_changeAfterReset) bound.policy = BindResult::Policy::ChangeAfterReset;
  return bound;
}

Result Connection::bindByCertificate(Deadline deadline) {
  // Nobody else than the certificate's subject is to be bound; without a text, a server asks for
  // one.
  auto nobodyElse = viewOf("");
  int operation = 0;
  const int status = library().sasl_bind(mDialogue->ldap(), "", "EXTERNAL", &nobodyElse, nullptr,
                                         nullptr, &operation);
  return mDialogue->finish(status, operation, deadline);
}

std::vector<Result> Connection::search(std::span<const Search> searches, const Limits& limits,
                                       const Sink& sink) {
  return Searches(*mDialogue, searches, limits, mPageSize, sink).run();
}

Result Connection::replace(const std::string& name, const std::string& attribute,
                           std::string_view value, Deadline deadline) {
  auto bytes = viewOf(value);
  std::array<berval*, 2> values{&bytes, nullptr};
  LDAPMod change{};
  change.mod_op = LDAP_MOD_REPLACE | LDAP_MOD_BVALUES;
  change.mod_type = const_cast<char*>(attribute.c_str());
  change.mod_vals.modv_bvals = values.data();
  std::array<LDAPMod*, 2> changes{&change, nullptr};
  int operation = 0;
  const int status = library().modify_ext(mDialogue->ldap(), name.c_str(), changes.data(), nullptr,
                                          nullptr, &operation);
  return mDialogue->finish(status, operation, deadline);
}

Result Connection::changePassword(const std::string& name, std::string_view oldPassword,
                                  std::string_view newPassword, Deadline deadline) {
  auto user = viewOf(name);
  auto before = viewOf(oldPassword);
  auto after = viewOf(newPassword);
  int operation = 0;
  const int status =
      library().passwd(mDialogue->ldap(), &user, &before, &after, nullptr, nullptr, &operation);
  return mDialogue->finish(status, operation, deadline);
}

}  // namespace gatehall::ldap
