#include "platform/linux/LdapLibrary.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace gatehall {

namespace {

/// What has arrived and the library hasn't taken yet.
struct ReadAhead {
  std::array<char, 65536> bytes;
  std::size_t begin = 0;
  std::size_t end = 0;
};

ReadAhead& readAhead(Sockbuf_IO_Desc* descriptor) {
  return *static_cast<ReadAhead*>(descriptor->sbiod_pvt);
}

int socketOf(Sockbuf_IO_Desc* descriptor) {
  int number = -1;
  LdapLibrary::get().ber_sockbuf_ctrl(descriptor->sbiod_sb, LBER_SB_OPT_GET_FD, &number);
  return number;
}

int setUp(Sockbuf_IO_Desc* descriptor, void* /*argument*/) {
  descriptor->sbiod_pvt = std::make_unique<ReadAhead>().release();
  return 0;
}

int takeDown(Sockbuf_IO_Desc* descriptor) {
  const std::unique_ptr<ReadAhead> owner(&readAhead(descriptor));
  descriptor->sbiod_pvt = nullptr;
  return 0;
}

int control(Sockbuf_IO_Desc* descriptor, int option, void* /*argument*/) {
  if (option != LBER_SB_OPT_DATA_READY) return 0;
  const auto& buffer = readAhead(descriptor);
  return buffer.begin < buffer.end ? 1 : 0;
}

ber_slen_t readSome(Sockbuf_IO_Desc* descriptor, void* bytes, ber_len_t length) {
  auto& buffer = readAhead(descriptor);
  if (buffer.begin == buffer.end) {
    ssize_t count = 0;
    do {
      count = recv(socketOf(descriptor), buffer.bytes.data(), buffer.bytes.size(), MSG_DONTWAIT);
    } while (count < 0 && errno == EINTR);
    if (count <= 0) return count;
    buffer.begin = 0;
    buffer.end = static_cast<std::size_t>(count);
  }
  const auto count = std::min<std::size_t>(length, buffer.end - buffer.begin);
  std::memcpy(bytes, buffer.bytes.data() + buffer.begin, count);
  buffer.begin += count;
  return static_cast<ber_slen_t>(count);
}

ber_slen_t writeSome(Sockbuf_IO_Desc* descriptor, void* bytes, ber_len_t length) {
  ssize_t count = 0;
  do {
    count = send(socketOf(descriptor), bytes, length, MSG_DONTWAIT | MSG_NOSIGNAL);
  } while (count < 0 && errno == EINTR);
  return count;
}

int closeSocket(Sockbuf_IO_Desc* descriptor) { return close(socketOf(descriptor)); }

}  // namespace

const LdapLibrary& LdapLibrary::get() {
  static const LdapLibrary library;
  return library;
}

LdapOwned<LDAP> openSession(FileDescriptor socket, const char* uri) {
  // The library declares it changeable, and changes nothing.
  static Sockbuf_IO io{setUp, takeDown, control, readSome, writeSome, closeSocket};
  const auto& library = LdapLibrary::get();
  LDAP* opened = nullptr;
  if (library.init_fd(socket.number(), LDAP_PROTO_EXT, uri, &opened) != LDAP_SUCCESS) {
    return nullptr;
  }
  LdapOwned<LDAP> session(opened);
  Sockbuf* buffer = nullptr;
  if (library.get_option(opened, LDAP_OPT_SOCKBUF, &buffer) != LDAP_OPT_SUCCESS ||
      library.ber_sockbuf_add_io(buffer, &io, LBER_SBIOD_LEVEL_PROVIDER, nullptr) != 0) {
    return nullptr;
  }
  socket.release();
  return session;
}

}  // namespace gatehall
