#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace gatehall::pam {

/// What a module may answer: the return values of pam(3) by their names in pam.conf(5), in the
/// order of their numbers.
inline constexpr std::array<std::string_view, 32> kResults{"success",
                                                           "open_err",
                                                           "symbol_err",
                                                           "service_err",
                                                           "system_err",
                                                           "buf_err",
                                                           "perm_denied",
                                                           "auth_err",
                                                           "cred_insufficient",
                                                           "authinfo_unavail",
                                                           "user_unknown",
                                                           "maxtries",
                                                           "new_authtok_reqd",
                                                           "acct_expired",
                                                           "session_err",
                                                           "cred_unavail",
                                                           "cred_expired",
                                                           "cred_err",
                                                           "no_module_data",
                                                           "conv_err",
                                                           "authtok_err",
                                                           "authtok_recover_err",
                                                           "authtok_lock_busy",
                                                           "authtok_disable_aging",
                                                           "try_again",
                                                           "ignore",
                                                           "abort",
                                                           "authtok_expired",
                                                           "module_unknown",
                                                           "bad_item",
                                                           "conv_again",
                                                           "incomplete"};

inline constexpr std::size_t kSuccess = 0;
inline constexpr std::size_t kPermDenied = 6;
inline constexpr std::size_t kNewAuthtokReqd = 12;
inline constexpr std::size_t kAcctExpired = 13;
inline constexpr std::size_t kIgnore = 25;
inline constexpr std::size_t kIncomplete = 31;

/// What becomes of a module's answer: one of these, or, above 0, how many modules are jumped over.
enum Action : int { Reset = -5, Die = -4, Bad = -3, Done = -2, Ok = -1, Ignore = 0 };

/// The action for each answer. One of pam.conf(5)'s words in any case, or "success=ok default=bad"
/// as it stands between brackets. What can't be read makes every answer bad, as libpam takes it.
using Control = std::array<int, kResults.size()>;

Control readControl(std::string_view text);

/// Of a line that libpam can't use.
Control everythingIsBad();

}  // namespace gatehall::pam
