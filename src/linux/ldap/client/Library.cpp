#include "linux/ldap/client/Library.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <netinet/in.h>
#include <poll.h>
#include <resolv.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace gatehall::ldap {

namespace {

Transport& transportOf(Sockbuf_IO_Desc* descriptor) {
  return *static_cast<Transport*>(descriptor->sbiod_pvt);
}

int socketOf(Sockbuf_IO_Desc* descriptor) {
  int number = -1;
  Library::get().ber_sockbuf_ctrl(descriptor->sbiod_sb, LBER_SB_OPT_GET_FD, &number);
  return number;
}

int setUp(Sockbuf_IO_Desc* descriptor, void* transport) {
  descriptor->sbiod_pvt = transport;
  return 0;
}

int takeDown(Sockbuf_IO_Desc* descriptor) {
  const std::unique_ptr<Transport> owner(&transportOf(descriptor));
  descriptor->sbiod_pvt = nullptr;
  return 0;
}

int control(Sockbuf_IO_Desc* descriptor, int option, void* /*argument*/) {
  if (option != LBER_SB_OPT_DATA_READY) return 0;
  const auto& transport = transportOf(descriptor);
  return transport.begin < transport.end ? 1 : 0;
}

/// Calls recv(2) or send(2), and again once the socket is ready where the transport waits for that.
template <class Call>
ssize_t attempt(Sockbuf_IO_Desc* descriptor, short readiness, Call call) {
  const int socket = socketOf(descriptor);
  const auto& transport = transportOf(descriptor);
  for (;;) {
    const auto count = call(socket);
    if (count >= 0) return count;
    if (errno == EINTR) continue;
    if (errno != EAGAIN || !transport.waitsUntil) return -1;
    pollfd event{socket, readiness, 0};
    const int ready = poll(&event, 1, millisecondsUntil(*transport.waitsUntil));
    if (ready == 0) errno = ETIMEDOUT;
    if (ready == 0 || (ready < 0 && errno != EINTR)) return -1;
  }
}

/// What makes a rest needless, and how long one is.
constexpr std::size_t kEnough = 8192;
constexpr auto kRest = std::chrono::microseconds(100);

ssize_t readAhead(Sockbuf_IO_Desc* descriptor) {
  auto& transport = transportOf(descriptor);
  const auto count = attempt(descriptor, POLLIN, [&](int socket) {
    return recv(socket, transport.ahead.data() + transport.end,
                transport.ahead.size() - transport.end, MSG_DONTWAIT);
  });
  if (count > 0) transport.end += static_cast<std::size_t>(count);
  return count;
}

ber_slen_t readSome(Sockbuf_IO_Desc* descriptor, void* bytes, ber_len_t length) {
  auto& transport = transportOf(descriptor);
  if (transport.begin == transport.end) {
    transport.begin = transport.end = 0;
    const auto count = readAhead(descriptor);
    if (transport.gathers && transport.end < kEnough && count != 0) {
      std::this_thread::sleep_for(kRest);
      readAhead(descriptor);
    }
    if (transport.end == 0) return count;
  }
  const auto count = std::min<std::size_t>(length, transport.end - transport.begin);
  std::memcpy(bytes, transport.ahead.data() + transport.begin, count);
  transport.begin += count;
  return static_cast<ber_slen_t>(count);
}

ber_slen_t writeSome(Sockbuf_IO_Desc* descriptor, void* bytes, ber_len_t length) {
  return attempt(descriptor, POLLOUT, [&](int socket) {
    return send(socket, bytes, length, MSG_DONTWAIT | MSG_NOSIGNAL);
  });
}

int closeSocket(Sockbuf_IO_Desc* descriptor) { return close(socketOf(descriptor)); }

/// The library starts SASL, which maps whatever mechanisms are installed, and with them a database
/// and a second cryptographic library, at half the cost of a short process; binds here need none.
/// It is told to look for them in a folder that is always there, as it logs that there is none,
/// and where root alone could put one.
void leaveMechanismsOut(const LazyLibrary& ldap) {
  constexpr int kPathOfPlugins = 0;
  std::array withoutPlugins{'/', 'd', 'e', 'v', '\0'};
  ldap.function<int(int, char*)>("sasl_set_path")(kPathOfPlugins, withoutPlugins.data());
}

/// The library's first call would read ldaprc in the working folder and in the home folder, which
/// others than the administrator can write, and ldap.conf, which a machine has for other programs:
/// all that is set here comes from the directory's own table. The library is told by its
/// environment alone, before it starts.
void ignoreConfigurationFiles() { setenv("LDAPNOINIT", "1", 1); }

/// While it lives, what this thread looks up is asked of no name server, resolver(3).
class WithoutNameServers {
 public:
  WithoutNameServers() {
    if ((_res.options & RES_INIT) == 0) res_init();
    mCount = std::exchange(_res.nscount, 0);
  }
  ~WithoutNameServers() { _res.nscount = mCount; }
  WithoutNameServers(const WithoutNameServers&) = delete;
  WithoutNameServers& operator=(const WithoutNameServers&) = delete;

 private:
  int mCount = 0;
};

/// The library's first call looks up the name of this machine, for SASL. Where that stands in no
/// file and no name server answers, it would take as long as they may: longer than any limit here.
void initialize(const Library& ldap) {
  const WithoutNameServers thisThread;
  int version = 0;
  ldap.get_option(nullptr, LDAP_OPT_PROTOCOL_VERSION, &version);
}

}  // namespace

bool forgetOwnName(const LazyLibrary& ldap) {
  auto** name = ldap.find<char*>("ldap_int_hostname");
  if (name == nullptr) return false;
  ldap.function<void(void*)>("ldap_memfree")(std::exchange(*name, nullptr));
  return true;
}

const Library& Library::get() {
  static const Library library = [] {
    // A program that links SASL may want mechanisms.
    const bool isProgramsOwn = dlsym(RTLD_DEFAULT, "sasl_set_path") != nullptr;
    ignoreConfigurationFiles();
    Library mapped;
    if (!isProgramsOwn) leaveMechanismsOut(mapped.ldap);
    initialize(mapped);
    mapped.takesLocalhostAsItStands = !isProgramsOwn && forgetOwnName(mapped.ldap);
    return mapped;
  }();
  return library;
}

Session openSession(FileDescriptor socket, const char* uri) {
  // The library declares it changeable, and changes nothing.
  static Sockbuf_IO io{setUp, takeDown, control, readSome, writeSome, closeSocket};
  const auto& library = Library::get();
  LDAP* opened = nullptr;
  if (library.init_fd(socket.number(), LDAP_PROTO_EXT, uri, &opened) != LDAP_SUCCESS) return {};
  Session session{Owned<LDAP>(opened), nullptr};
  auto transport = std::make_unique<Transport>();
  Sockbuf* buffer = nullptr;
  if (library.get_option(opened, LDAP_OPT_SOCKBUF, &buffer) != LDAP_OPT_SUCCESS ||
      library.ber_sockbuf_add_io(buffer, &io, LBER_SBIOD_LEVEL_PROVIDER, transport.get()) != 0) {
    return {};
  }
  session.transport = transport.release();
  socket.release();
  return session;
}

}  // namespace gatehall::ldap
