#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/DirectoryService.h"
#include "platform/linux/LdapDirectory.h"
#include "platform/linux/LdapMembers.h"

namespace gatehall {

/// A user or group of a network directory. What the search that found it brought along answers
/// everything but three questions: who is in a group that lists DNs, what a password policy says,
/// and what a user looks like. Photos are large, so they are fetched when they are asked for by
/// name, and aren't among the details of "all".
class LdapRecord final : public DirectoryRecord {
 public:
  LdapRecord(std::shared_ptr<LdapDirectory> directory, std::shared_ptr<const LdapEntry> entry)
      : mDirectory(std::move(directory)), mEntry(std::move(entry)) {}

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
  std::shared_ptr<const LdapEntry> entry() const;
  /// Calls add(text) for each value of that kind, which has its canonical name, and of which slotOf
  /// says where entries hold it.
  template <class Add>
  void eachValue(const LdapEntry& entry, std::string_view kind, std::optional<LdapSlot> slot,
                 Add add);
  template <class Add>
  void eachUserValue(const LdapEntry& user, std::string_view kind, std::optional<LdapSlot> slot,
                     Add add);
  template <class Add>
  void eachGroupValue(const LdapEntry& group, LdapSlot slot, Add add);
  std::optional<LdapSlot> slotOf(const LdapEntry& entry, std::string_view kind) const;
  std::shared_ptr<const LdapMembers> members(const LdapEntry& group);

  const std::shared_ptr<LdapDirectory> mDirectory;
  mutable std::mutex mMutex;  ///< never held while the directory is asked
  std::shared_ptr<const LdapEntry> mEntry;
  std::shared_ptr<const LdapMembers> mMembers;
};

}  // namespace gatehall
