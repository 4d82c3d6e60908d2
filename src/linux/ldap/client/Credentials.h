#pragma once

#include <memory>
#include <string>

#include "linux/files/HostOptions.h"
#include "linux/files/SecretText.h"
#include "linux/ldap/client/Settings.h"
#include "linux/process/MonitorMessage.h"

namespace gatehall::ldap {

/// The first line of a file that holds a password. The file belongs to root or
/// to the process's own user, and nobody else can read it but the group of
/// /etc/shadow, which may read every password here. Raises DirectoryUnreachable
/// when there is no such file, or none to be trusted, or when this process may
/// not read it. A process with a monitor has it read there.
std::unique_ptr<SecretText> readPasswordFile(const HostOptions& options, const std::string& file);

/// What this machine shows servers that ask who it is (RFC 8446, 4.4.2), in PEM
/// (RFC 7468).
struct ClientCertificate {
  std::string chain;  ///< its certificate, and those of authorities behind it
  std::unique_ptr<SecretText> key;
};

/// The settings' certificate and key; nullptr where there are none. The key's
/// file is as that of a password, and read in the same place; the certificate's
/// belongs to the same users, and nobody else can write it. Raises
/// DirectoryUnreachable, which names the file.
std::unique_ptr<ClientCertificate> readClientCertificate(const HostOptions& options,
                                                         const Settings& settings);

/// In the monitor: the questions BindPassword and ClientKey, about a file that
/// this machine's directory.toml names for a directory as what is asked for; of
/// a key, the bytes from the question's number on, and an empty text for no
/// more. Untold: any other file, and one that the functions above would not
/// read.
void answerAboutCredentials(const HostOptions& options, const MonitorMessage& question,
                            MonitorMessage& answer);

}  // namespace gatehall::ldap
