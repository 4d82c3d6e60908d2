#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "linux/ldap/Directory.h"
#include "linux/ldap/Members.h"

namespace gatehall::ldap {

/// A user or group of a network directory. What the search that found it brought along answers
/// everything but three questions: who is in a group that lists DNs, what a password policy says,
/// and what a user looks like. Photos are large, so they are fetched when they are asked for by
/// name, and aren't among the details of "all".
class Record final : public DirectoryRecord {
 public:
  Record(std::shared_ptr<Directory> directory, std::shared_ptr<const Entry> entry)
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
  std::shared_ptr<const Entry> entry() const;
  /// Calls add(text) for each value of that kind, which has its canonical name, and of which slotOf
  /// says where entries hold it.
  template <class Add>
  void eachValue(const Entry& entry, std::string_view kind, std::optional<Slot> slot, Add add);
  template <class Add>
  void eachUserValue(const Entry& user, std::string_view kind, std::optional<Slot> slot, Add add);
  template <class Add>
  void eachGroupValue(const Entry& group, Slot slot, Add add);
  std::optional<Slot> slotOf(const Entry& entry, std::string_view kind) const;
  std::shared_ptr<const Members> members(const Entry& group);

  const std::shared_ptr<Directory> mDirectory;
  mutable std::mutex mMutex;  ///< never held while the directory is asked
  std::shared_ptr<const Entry> mEntry;
  std::shared_ptr<const Members> mMembers;
};

}  // namespace gatehall::ldap
