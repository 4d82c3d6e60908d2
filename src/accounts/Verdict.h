#pragma once

#include <memory>
#include <optional>
#include <string>

#include "accounts/AccountHost.h"
#include "accounts/Accounts.h"
#include "gatehall/access/LoginDecision.h"
#include "gatehall/access/PreferenceSource.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall {

/// What can't be told: nobody is let in then.
inline constexpr std::string_view kUndecidable = "undecidable";

/// Whether somebody may log in, and why.
struct Verdict {
  bool allowed = false;

  /// The login rule in words. Where there is nobody to be decided about, why, in words that stay as
  /// they are: "no shell", "locked", "expired", "no password", "no name", "no user id", "not in
  /// gatehall-access", "user id too low", "user id too high", "hidden by a local account", "hidden
  /// by another account", "no such account", "directory away"; "undecidable".
  std::string rule{};

  /// Where the setting behind a login rule came from, if there is one.
  std::optional<PreferenceSource> source{};

  /// The same in a sentence without a full stop; "" when a login rule decided.
  std::string reason{};

  std::shared_ptr<CachedUser> user{};  ///< nullptr: nobody to be decided about
  std::optional<LoginRule> decided{};  ///< by which rule

  bool isUndecidable() const { return rule == kUndecidable; }
};

/// What becomes of the account here and now. Raises nothing of the host's.
Verdict verdictOn(const AccountHost& host, const Account& account);

/// What becomes of the one who is meant: of the first of several accounts, and of nobody.
Verdict verdictOn(const AccountHost& host, const Meant& meant);

}  // namespace gatehall
