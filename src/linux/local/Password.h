#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "linux/accounts/Shadow.h"
#include "linux/files/SecretText.h"
#include "linux/local/Account.h"
#include "linux/local/Context.h"

namespace gatehall::local {

/// An account's password: where its hash stands, whether it can be given, and whether one is the
/// account's. What is kept in a file of its own is read when it is first needed. For one thread at
/// a time; the host and the account have to outlive it.
class Password {
 public:
  Password(Host& host, const Account& account) : mHost(host), mAccount(account) {}

  /// Whether the password is the account's; the error says why it is refused. May raise
  /// PlatformException.
  bool verify(std::string_view password, DirectoryError& error);

  /// The attributes Password and AuthenticationAuthority, as far as they follow from the files.
  std::string_view mark();
  Strings authorities();

  /// As DirectoryRecord::passwordPolicy.
  std::optional<Dictionary> policy();

  /// Drops what was read.
  void forget();

  /// Reads the lines of /etc/shadow that are missing, in one pass over the file.
  static void fetch(Host& host, std::span<Password* const> passwords);

 private:
  enum class Fetched { No, Unreadable, Nothing, Line };

  /// What a password is checked against.
  struct Stored {
    bool isInPasswd = false;
    bool isUnreadable = false;
    bool isDisabled = false;
    std::vector<std::string_view> hashes;  ///< without the marks of a lock

    bool mayBeGiven() const { return !hashes.empty() || isUnreadable; }
  };

  Stored stored();
  bool isExpired() const;
  void keepShadow(Fetched state, std::string_view line);
  void fetchShadow();
  void fetchPrivileged();

  Host& mHost;
  const Account& mAccount;
  Fetched mFetched = Fetched::No;  ///< of the shadow line, or of the privileged hashes
  std::unique_ptr<SecretText> mShadowLine;
  std::optional<ShadowEntry> mShadow;  ///< of the line
  std::vector<std::unique_ptr<SecretText>> mPrivilegedHashes;
};

}  // namespace gatehall::local
