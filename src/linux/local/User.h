#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "linux/accounts/AccountsServiceFile.h"
#include "linux/local/Account.h"
#include "linux/local/Context.h"
#include "linux/local/Password.h"

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

  /// As Password::kind.
  PasswordKind passwordKind();

  // For new users, which no other thread knows yet.

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
  struct Attribute;
  static const std::array<Attribute, 14> kAttributes;

  // All of these are called under mMutex.
  /// Adds the values of that kind, which has its canonical name.
  void addValues(std::string_view kind, Strings& values);
  std::string fullName() const;
  std::string guid();
  const Strings* attributesOfUserRecord(std::string_view kind) const;
  const AccountsServiceFile& accountsService();
  bool isLimited();

  std::shared_ptr<Context> freshContext() const;

  mutable std::mutex mMutex;
  std::shared_ptr<Context> mContext;
  Account mAccount;
  Password mPassword;
  std::optional<UUIDBytes> mGUID;  ///< of the user id, once it is asked for
  std::shared_ptr<const AccountsServiceFile> mAccountsService;
  std::optional<bool> mIsLimited;  ///< in the sessions, by parental controls
};

}  // namespace gatehall::local
