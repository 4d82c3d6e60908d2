#pragma once

#include <cstdint>

/// The codes that the Linux directory puts beside kDirectoryErrorDomain.
namespace gatehall::directoryError {

/// The password is not the account's, or the account has none that could be.
inline constexpr std::int64_t kPasswordRefused = 5101;
/// The account's password hash can't be read by this process.
inline constexpr std::int64_t kHashUnreadable = 5102;
/// The account is locked or past its expiry date.
inline constexpr std::int64_t kAccountDisabled = 5103;
/// The account doesn't exist any more.
inline constexpr std::int64_t kNoSuchAccount = 5104;
/// The new password was refused, by the password rules or by the system that stores it.
inline constexpr std::int64_t kNewPasswordRefused = 5105;
/// What checks or changes passwords here is not installed or not working.
inline constexpr std::int64_t kPasswordServiceUnavailable = 5106;
/// The record is no account: groups have no password.
inline constexpr std::int64_t kNoPasswords = 5107;
/// The password is past its age, or has to be changed first.
inline constexpr std::int64_t kPasswordExpired = 5108;

}  // namespace gatehall::directoryError
