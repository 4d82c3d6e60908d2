#pragma once

#include <string>
#include <string_view>

#include "linux/files/HostOptions.h"

namespace gatehall::local {

enum class PasswordChange {
  Done,
  OldPasswordRefused,
  NewPasswordRefused,
  Unavailable,  ///< no PAM, or none that serves this program
};

/// Changes an account's password through PAM, service "passwd", which asks for the old password
/// unless the process is root's or the old one is empty. Under a root of its own, PAM is configured
/// by that root's /etc/pam.d.
PasswordChange changePasswordThroughPam(const HostOptions& options, const std::string& loginName,
                                        std::string_view oldPassword, std::string_view newPassword);

}  // namespace gatehall::local
