#pragma once

#include <array>
#include <cstddef>
#include <ldap.h>
#include <memory>
#include <openldap.h>
#include <optional>
#include <string_view>

#include "linux/files/FileDescriptor.h"
#include "linux/ldap/client/ServerSocket.h"
#include "portable/LazyLibrary.h"

namespace gatehall::ldap {

/// The functions of OpenLDAP's client that are used here. It is mapped by the first call, which
/// raises PlatformException when it is not installed, and asks no name server.
struct Library {
  LazyLibrary ldap{"libldap-2.5.so.0", "libldap-2.5-0"};
  LazyLibrary lber{"liblber-2.5.so.0", "libldap-2.5-0"};
#define GATEHALL_LDAP(name) decltype(::ldap_##name)* name = GATEHALL_FUNCTION(ldap, ldap_##name)
#define GATEHALL_BER(name) decltype(::ber_##name)* ber_##name = GATEHALL_FUNCTION(lber, ber_##name)
  GATEHALL_LDAP(init_fd);
  GATEHALL_LDAP(set_option);
  GATEHALL_LDAP(get_option);
  GATEHALL_LDAP(unbind_ext);
  GATEHALL_LDAP(install_tls);
  GATEHALL_LDAP(start_tls);
  GATEHALL_LDAP(sasl_bind);
  GATEHALL_LDAP(search_ext);
  GATEHALL_LDAP(modify_ext);
  GATEHALL_LDAP(passwd);
  GATEHALL_LDAP(result);
  GATEHALL_LDAP(msgtype);
  GATEHALL_LDAP(msgid);
  GATEHALL_LDAP(msgfree);
  GATEHALL_LDAP(parse_result);
  GATEHALL_LDAP(parse_reference);
  GATEHALL_LDAP(get_dn_ber);
  GATEHALL_LDAP(get_attribute_ber);
  GATEHALL_LDAP(create_page_control);
  GATEHALL_LDAP(parse_pageresponse_control);
  GATEHALL_LDAP(parse_passwordpolicy_control);
  GATEHALL_LDAP(control_find);
  GATEHALL_LDAP(control_free);
  GATEHALL_LDAP(controls_free);
  GATEHALL_LDAP(abandon_ext);
  GATEHALL_LDAP(memfree);
  GATEHALL_LDAP(memvfree);
  GATEHALL_LDAP(err2string);
  GATEHALL_BER(free);
  GATEHALL_BER(memfree);
  GATEHALL_BER(sockbuf_add_io);
  GATEHALL_BER(sockbuf_ctrl);
#undef GATEHALL_LDAP
#undef GATEHALL_BER

  /// Whether a certificate is held against the name "localhost" as it stands. Where it isn't, in a
  /// program that has SASL for itself and with a library that keeps its names elsewhere, the
  /// certificate of a server called so can't be checked: one for this machine's name would do.
  bool takesLocalhostAsItStands = false;

  static const Library& get();
};

/// The library takes a server called "localhost" for one with this machine's name when it looks at
/// its certificate, which is then for another name than was asked for (RFC 6125, 6.4). Without the
/// machine's name it takes it as it stands: from now on, or false where the library, whose variable
/// is none of its interface, has no such one.
bool forgetOwnName(const LazyLibrary& ldap);

/// Frees what the library allocates.
struct Free {
  void operator()(LDAP* session) const { Library::get().unbind_ext(session, nullptr, nullptr); }
  void operator()(LDAPMessage* message) const { Library::get().msgfree(message); }
  void operator()(LDAPControl* control) const { Library::get().control_free(control); }
  void operator()(LDAPControl** controls) const { Library::get().controls_free(controls); }
  void operator()(BerElement* element) const { Library::get().ber_free(element, 0); }
  void operator()(char* text) const { Library::get().memfree(text); }
  void operator()(char** texts) const { Library::get().memvfree(reinterpret_cast<void**>(texts)); }
  void operator()(berval* values) const { Library::get().ber_memfree(values); }
};
template <class Type>
using Owned = std::unique_ptr<Type, Free>;

/// A text as the library takes it, which only reads it.
inline berval viewOf(std::string_view text) {
  return {text.size(), const_cast<char*>(text.data())};
}

/// A text that the library hands out.
inline std::string_view textOf(const berval& value) {
  return value.bv_val == nullptr ? std::string_view()
                                 : std::string_view(value.bv_val, value.bv_len);
}

/// The way to the server. What it sends is read ahead, nothing blocks, and writing to a server that
/// is gone raises no signal.
struct Transport {
  /// While it is set, reading and writing wait until then for the server: the library's TLS
  /// negotiation would ask over and over.
  std::optional<Deadline> waitsUntil;

  /// While a long answer is streaming in: a moment's rest lets many entries come with one call, and
  /// the server isn't interrupted for each.
  bool gathers = false;

  std::array<char, 65536> ahead;  ///< what has arrived and isn't taken yet
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The library's session, and the way under it, which it owns.
struct Session {
  Owned<LDAP> ldap;
  Transport* transport = nullptr;
};

/// A session over the connected socket; none when memory is short.
Session openSession(FileDescriptor socket, const char* uri);

}  // namespace gatehall::ldap
