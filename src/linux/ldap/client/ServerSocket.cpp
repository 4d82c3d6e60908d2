#include "linux/ldap/client/ServerSocket.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <thread>
#include <vector>

#include "linux/files/HostPath.h"
#include "linux/records/NetworkNode.h"

namespace gatehall::ldap {

namespace {

struct Address {
  int family = AF_UNSPEC;
  sockaddr_storage storage{};
  socklen_t length = 0;
};

[[noreturn]] void fail(const URI& server, const std::string& why) {
  throw DirectoryUnreachable(server.text + ": " + why);
}

std::string errorText(int error) { return std::generic_category().message(error); }

/// What getaddrinfo(3) finds: its addresses, or its error.
struct Lookup {
  int error = 0;
  std::vector<Address> addresses;
};

Lookup lookUp(const std::string& host, std::uint16_t port, int flags) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | flags;
  addrinfo* found = nullptr;
  Lookup result;
  result.error = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (result.error != 0) return result;
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
  for (const auto* each = found; each != nullptr; each = each->ai_next) {
    Address address;
    if (each->ai_addrlen > sizeof(address.storage)) continue;
    address.family = each->ai_family;
    address.length = each->ai_addrlen;
    std::memcpy(&address.storage, each->ai_addr, each->ai_addrlen);
    result.addresses.push_back(address);
  }
  return result;
}

/// A look-up that may outlast whoever waits for it: the resolver can't be called off.
struct PendingLookup {
  std::mutex mutex;
  std::condition_variable changed;
  bool isDone = false;
  Lookup result;
};

std::vector<Address> addressesOf(const URI& server, Deadline deadline) {
  auto lookup = lookUp(server.host, server.port, AI_NUMERICHOST);
  if (lookup.error == EAI_NONAME) {
    const auto pending = std::make_shared<PendingLookup>();
    try {
      std::thread([pending, host = server.host, port = server.port] {
        auto result = lookUp(host, port, AI_ADDRCONFIG);
        const std::lock_guard lock(pending->mutex);
        pending->result = std::move(result);
        pending->isDone = true;
        pending->changed.notify_all();
      }).detach();
    } catch (const std::system_error& failure) {  // no more threads
      fail(server, "its name can't be looked up: " + failure.code().message());
    }
    std::unique_lock lock(pending->mutex);
    if (!pending->changed.wait_until(lock, deadline, [&] { return pending->isDone; })) {
      fail(server, "its name is not found in time");
    }
    lookup = std::move(pending->result);
  }
  if (lookup.error != 0) fail(server, gai_strerror(lookup.error));
  if (lookup.addresses.empty()) fail(server, "its name has no address");
  return std::move(lookup.addresses);
}

Address socketAddress(const URI& server, const std::string& root) {
  const auto path = hostPath(root, server.host);
  sockaddr_un socket{};
  if (path.size() >= sizeof(socket.sun_path)) fail(server, "the path is too long for a socket");
  socket.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), std::begin(socket.sun_path));
  Address address;
  address.family = AF_UNIX;
  address.length = sizeof(socket);
  std::memcpy(&address.storage, &socket, sizeof(socket));
  return address;
}

/// 0 once the socket is connected, else an errno(3).
int connectSocket(const FileDescriptor& file, const Address& address, Deadline deadline) {
  const auto* name = reinterpret_cast<const sockaddr*>(&address.storage);
  if (connect(file.number(), name, address.length) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  pollfd event{file.number(), POLLOUT, 0};
  int count = 0;
  do {
    count = poll(&event, 1, millisecondsUntil(deadline));
  } while (count < 0 && errno == EINTR);
  if (count == 0) return ETIMEDOUT;
  int error = 0;
  socklen_t length = sizeof(error);
  if (count < 0 || getsockopt(file.number(), SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
    return errno;
  }
  return error;
}

}  // namespace

FileDescriptor connectTo(const URI& server, const std::string& root, Deadline deadline) {
  auto addresses = server.scheme == URI::Scheme::Ldapi
                       ? std::vector<Address>{socketAddress(server, root)}
                       : addressesOf(server, deadline);
  int error = 0;
  for (std::size_t index = 0; index < addresses.size(); ++index) {
    const auto share = shareOf(deadline, addresses.size() - index);
    const auto& address = addresses[index];
    FileDescriptor file(socket(address.family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!file.isOpen()) {
      error = errno;
      continue;
    }
    error = connectSocket(file, address, share);
    if (error != 0) continue;
    if (address.family != AF_UNIX) {
      const int on = 1;
      setsockopt(file.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
      setsockopt(file.number(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
    }
    return file;
  }
  fail(server, errorText(error));
}

}  // namespace gatehall::ldap
