#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "linux/accounts/AccountsServiceFile.h"
#include "linux/accounts/Passwd.h"
#include "linux/accounts/Shadow.h"
#include "linux/files/SecretText.h"
#include "linux/local/Context.h"

namespace gatehall::local {

/// An account of the local node: a line of /etc/passwd, a user record, or both. It keeps the line
/// and reads the values out of it when they are asked for.
///
/// The line decides what it says; a user record of the same name and user id adds its uuid,
/// aliases, groups, lock and validity, the full name when the line has none, and its own
/// attributes.
class User final : public DirectoryRecord {
 public:
  /// Of a line that parsePasswdLine reads as that entry, with or without a user record.
  User(std::shared_ptr<Context> context, std::string_view passwdLine, const PasswdEntry& entry,
       std::shared_ptr<const UserRecord> userRecord);

  /// Of a user record that has a user id and stands alone.
  User(std::shared_ptr<Context> context, std::shared_ptr<const UserRecord> userRecord);

  std::string loginName() const;
  std::uint32_t userID() const;

  /// Fetches the shadow entries that the users don't have yet, in one pass over the file.
  static void fetchShadow(Context& context, std::span<const std::shared_ptr<User>> users);

  /// The same for what AccountsService keeps.
  static void fetchAccountsService(Context& context, std::span<const std::shared_ptr<User>> users);

  /// The same for whether parental controls limit their sessions, in one question.
  static void fetchSessionLimits(Context& context, std::span<const std::shared_ptr<User>> users);

  std::string recordType() override;
  std::optional<Strings> valuesForAttribute(std::string_view kind) override;
  std::optional<Dictionary> recordDetails(const Strings& kinds) override;
  bool setValue(std::string_view value, std::string_view kind) override;
  bool verifyPassword(std::string_view password, DirectoryError& error) override;
  bool changePassword(std::string_view oldPassword, std::string_view newPassword,
                      DirectoryError& error) override;
  bool isMember(DirectoryRecord& member) override;
  std::optional<Dictionary> passwordPolicy() override;
  bool synchronize() override;

 private:
  enum class Store { Passwd, Shadow, Privileged };
  enum class Fetched { No, Unreadable, Nothing, Line };

  /// What the account's password is checked against.
  struct Password {
    Store store = Store::Shadow;
    bool isUnreadable = false;
    bool isDisabled = false;
    std::vector<std::string_view> hashes;  ///< without the marks of a lock; good under the lock
  };

  /// What password() says, found out no more than once for all the values of a record.
  class PasswordOnce;

  // All of these are called under mMutex.
  void keepLine(std::string_view passwdLine, const PasswdEntry& entry);
  /// Calls add(text) for each value of that kind, which has its canonical name.
  template <class Add>
  void eachValue(std::string_view kind, PasswordOnce& password, Add add);
  std::string fullName() const;
  const std::string& guid();
  const Strings* attributesOfUserRecord(std::string_view kind) const;
  Password password();
  void fetchShadowLine();
  void fetchPrivileged();
  std::optional<ShadowEntry> shadowEntry();
  const AccountsServiceFile& accountsService();
  bool isLimited();
  bool isExpired(const std::optional<ShadowEntry>& shadow) const;

  void keepShadow(Fetched state, std::string_view line);

  mutable std::mutex mMutex;
  const std::shared_ptr<Host> mHost;
  std::shared_ptr<Context> mContext;
  std::string mPasswdLine;
  PasswdEntry mEntry;  ///< of the line
  std::string mGUID;   ///< empty until it is asked for
  std::shared_ptr<const UserRecord> mUserRecord;
  bool mStandsAlone = false;
  Fetched mShadow = Fetched::No;  ///< of the shadow line, or of the privileged hashes
  std::unique_ptr<SecretText> mShadowLine;
  std::vector<std::unique_ptr<SecretText>> mPrivilegedHashes;
  std::shared_ptr<const AccountsServiceFile> mAccountsService;
  std::optional<bool> mIsLimited;  ///< in the sessions, by parental controls
};

}  // namespace gatehall::local
