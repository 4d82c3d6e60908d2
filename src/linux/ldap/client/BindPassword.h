#pragma once

#include <memory>

#include "linux/files/HostOptions.h"
#include "linux/files/SecretText.h"
#include "linux/process/MonitorMessage.h"

namespace gatehall::ldap {

/// The first line of a file that holds a password. The file belongs to root or to the process's own
/// user, and nobody else can read it but the group of /etc/shadow, which may read every password
/// here. Raises DirectoryUnreachable when there is no such file, or none to be trusted, or when
/// this process may not read it. A process with a monitor has it read there.
std::unique_ptr<SecretText> readPasswordFile(const HostOptions& options, const std::string& file);

/// In the monitor: the question BindPassword, about a file that this machine's directory.toml names
/// for a directory. Untold: any other file, and one that readPasswordFile would not read.
void answerAboutBindPassword(const MonitorMessage& question, MonitorMessage& answer);

}  // namespace gatehall::ldap
