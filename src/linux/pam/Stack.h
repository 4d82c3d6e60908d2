#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"
#include "linux/pam/Control.h"

namespace gatehall::pam {

/// Where something stands in PAM's configuration.
struct Place {
  std::string file;        ///< from the host's root
  std::uint64_t line = 0;  ///< from 1; 0: the file as a whole
};

/// "/etc/pam.d/sshd:12"
std::string textOf(const Place& place);

/// What PAM comes to in its way through a service's stack.
struct Entry {
  enum class Kind {
    Module,
    Failure,   ///< a line that libpam can't use: it answers perm_denied
    Substack,  ///< the entries behind it of a higher level are one to those who jump over them
  };

  Kind kind = Kind::Module;
  std::size_t level = 0;  ///< in so many substacks
  Control control{};
  std::string controlText{};  ///< as it stands in the line: "required", "success=1 default=ignore"
  std::string module{};       ///< the last part of its path, "pam_unix.so"
  std::string modulePath{};   ///< as the line has it
  Strings arguments{};
  Place place{};
};

/// What PAM goes through when a service asks whether an account may be used now (account
/// management, pam_acct_mgmt(3)).
struct Stack {
  std::string file;  ///< that the service has: its own, or that of "other"; empty: none
  std::vector<Entry> entries;
  std::string fault;  ///< why libpam refuses everybody without asking a module; else empty

  struct Untrusted {
    std::string file;
    std::string reason;  ///< "belongs to user 1000"
  };
  std::vector<Untrusted> untrusted;  ///< those of the files that somebody but root may have written
};

/// Whether the name can be a service's: letters, digits and ".", "_", "+", "-", up to 64 of them.
bool isServiceName(std::string_view name);

/// Reads the account stack of the service as libpam reads it: /etc/pam.d/SERVICE, else
/// /usr/lib/pam.d/SERVICE, with what they include; "other" for a service that has no file, or none
/// with a line for accounts. Raises PlatformException, "PATH: REASON" or "PATH:LINE: REASON", where
/// a file can't be read, or is no longer small: more than 32 files in one another, 1000 in all or
/// 1000 entries, or a line of more than 1000 characters, which not every libpam takes whole.
///
/// An include that isn't in /etc/pam.d is looked for in /usr/lib/pam.d. Not every libpam does; the
/// others let nobody in there.
Stack readAccountStack(const HostOptions& options, std::string_view service);

/// The names of all services that have a file, sorted. Raises PlatformException when a folder can't
/// be read.
Strings servicesWithFile(const HostOptions& options);

}  // namespace gatehall::pam
