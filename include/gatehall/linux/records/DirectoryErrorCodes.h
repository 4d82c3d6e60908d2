#pragma once

#include <cstdint>

#include "gatehall/base/Export.h"

/// The codes that the Linux directory puts beside kDirectoryErrorDomain when it refuses a password:
/// those that CachedUser's authenticate and changePassword answer there, beside CachedUser's own.
namespace gatehall::directoryError {

// Of authenticate, and of changePassword about the old password.

/// The password is not the account's, which may have none that could be right, or be gone. For the
/// empty password of a network account also: the server lets this process not see userPassword.
inline constexpr std::int64_t kPasswordRefused = 5101;

/// The account's hash can't be read by this process, so nothing is known of any password, the empty
/// one included. It is the answer for every local account whose hash stands in /etc/shadow or in
/// /etc/userdb, to a process that may not read these: on Debian one that is neither root's nor in
/// the group shadow.
inline constexpr std::int64_t kHashUnreadable = 5102;

/// The account is locked or past its end, be the password right or not. Where the hash can't be
/// read, a local account's user record can say so, /etc/shadow can't.
inline constexpr std::int64_t kAccountDisabled = 5103;

/// The password of a network account is past its age or, by Active Directory, has to be changed
/// first.
inline constexpr std::int64_t kPasswordExpired = 5108;

// Of changePassword.

/// The new password was refused, by the password rules or by the system that stores it.
inline constexpr std::int64_t kNewPasswordRefused = 5105;

/// What changes passwords here is not installed, is not working, or doesn't know the account.
inline constexpr std::int64_t kPasswordServiceUnavailable = 5106;

// Of records that are no users'.

/// Groups have no password.
inline constexpr std::int64_t kNoPasswords = 5107;

}  // namespace gatehall::directoryError
