#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"
#include "linux/nss/Directory.h"

namespace gatehall::nss {

/// A user or group of a directory behind the name service. What found it brought along answers
/// everything but who is in a group. Of a user who is known by the name alone, as a group's member,
/// "all" details are the name, the GUID and the node; a kind by its name is asked for.
///
/// The service has no word for passwords: none is verified, the empty one included.
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
  std::optional<Dictionary> passwordPolicy() override { return std::nullopt; }
  bool synchronize() override;

 private:
  std::shared_ptr<const Entry> entry() const;
  std::shared_ptr<const Entry> wholeEntry();
  Strings values(std::string_view kind);
  bool refusePassword(std::int64_t ofUser, DirectoryError& error) const;

  const std::shared_ptr<Directory> mDirectory;
  mutable std::mutex mMutex;  ///< never held while the service is asked
  std::shared_ptr<const Entry> mEntry;
};

}  // namespace gatehall::nss
