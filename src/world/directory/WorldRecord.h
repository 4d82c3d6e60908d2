#pragma once

#include <memory>
#include <optional>

#include "gatehall/platform/DirectoryService.h"
#include "world/directory/DirectoryState.h"

namespace gatehall {

/// One account or group of a world, as whoever found it sees it: with what it held then, until it
/// writes to it or synchronizes. Passwords and memberships are always those of the moment. A record
/// that was removed, or whose node can't be reached, goes on answering what was seen and refuses
/// the rest. From any thread.
class WorldRecord final : public DirectoryRecord {
 public:
  /// The directory's lock is held.
  WorldRecord(std::shared_ptr<DirectoryState> state, std::shared_ptr<StoredRecord> stored);

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

  // What happens to the record from outside, whether its node can be reached or not. Nothing, once
  // it was removed.

  /// Replaces the kind's values; none: an attribute without values.
  void setValues(std::string_view kind, Strings values);
  void removeAttribute(std::string_view kind);
  /// What is accepted from now on; nullopt: nothing is.
  void setPassword(std::optional<std::string> password);
  /// What a refused password says about itself from now on.
  void setRefusal(DirectoryError refusal);
  void setPolicy(std::optional<Dictionary> policy);
  void remove();

 private:
  template <class Change>
  bool change(Change change);
  template <class Change>
  void edit(Change change);
  bool isLive() const;
  /// Of a group that lists users by GUID: the names that it lists, then those users', as every
  /// other host has them. Absent for any other record, and when there are none.
  std::optional<Strings> memberNames() const;

  const std::shared_ptr<DirectoryState> mState;
  const std::shared_ptr<StoredRecord> mStored;
  std::shared_ptr<const RecordContents> mSeen;  ///< guarded by the directory's lock
};

}  // namespace gatehall
