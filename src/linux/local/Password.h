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

/// What the files say of a password, without its hash.
struct PasswordKind {
  bool isInPasswd = false;  ///< where its hash stands
  bool mayBeGiven = false;
  bool isDisabled = false;
  bool isExpired = false;     ///< disabled, and only because it is past its end
  bool isUnreadable = false;  ///< it stands where this process may not read, and may be given
  bool isEmpty = false;       ///< the account has none and is not disabled
};

/// An account's password: where its hash stands, whether it can be given, and whether one is the
/// account's. A process with a monitor has that read and compared there; any other reads what is
/// kept in a file of its own when it is first needed. For one thread at a time; the host and the
/// account have to outlive it.
class Password {
 public:
  Password(Host& host, const Account& account) : mHost(host), mAccount(account) {}

  /// Whether the password is the account's; the error says why it is refused. May raise
  /// PlatformException.
  bool verify(std::string_view password, DirectoryError& error);

  /// May raise PlatformException, as what follows from it.
  PasswordKind kind();

  /// The attributes Password and AuthenticationAuthority, as far as they follow from the files.
  std::string_view mark();
  Strings authorities();

  /// As DirectoryRecord::passwordPolicy. A monitor isn't asked for it: raises PlatformException.
  std::optional<Dictionary> policy();

  /// Drops what was read.
  void forget();

  /// Reads the lines of /etc/shadow that are missing, in one pass over the file. Of several no hash
  /// is kept: it is read again should a password be compared with it.
  static void fetch(Host& host, std::span<Password* const> passwords);

 private:
  /// Facts: of a line whose hash is not kept, as of every account in a list.
  enum class Fetched : std::uint8_t { No, Unreadable, Nothing, Facts, Line };

  /// What stands in the place of hashes, without them.
  struct Marks {
    bool hasHash = false;   ///< one that a password may fit, or an empty one
    bool isLocked = false;  ///< one of these
    bool isEmpty = false;   ///< one of these

    void add(std::string_view text);
  };
  struct ShadowLine {
    explicit ShadowLine(std::string_view line);

    SecretText text;
    ShadowEntry entry;
  };

  Marks marks();
  std::vector<std::string_view> texts();
  std::vector<std::string_view> hashes();
  bool isInPasswd() const;
  bool isPastItsEnd() const;
  void keepShadow(Fetched state, std::string_view line = {});
  void fetchMarks();
  void fetchShadow();
  void fetchPrivileged();

  Host& mHost;
  const Account& mAccount;
  std::optional<PasswordKind> mTold;  ///< by the monitor
  Fetched mFetched = Fetched::No;     ///< of the shadow line, or of the privileged hashes
  Marks mShadowMarks;
  std::optional<std::int32_t> mExpiryDay;  ///< of the shadow line
  std::unique_ptr<ShadowLine> mShadow;
  std::vector<std::unique_ptr<SecretText>> mPrivilegedHashes;
};

}  // namespace gatehall::local
