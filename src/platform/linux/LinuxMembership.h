#pragma once

#include "platform/DirectoryService.h"
#include "platform/MembershipService.h"

namespace gatehall {

/// Service access lists kept as groups: the list of service NAME is the group NAME-access of any
/// node that the directory covers. Identifiers are the 16 bytes of GUIDs; the identifier derived
/// from a user id alone is that id in a namespace of its own.
class LinuxMembership final : public MembershipService {
 public:
  /// The directory has to outlive the service.
  explicit LinuxMembership(DirectoryService& directory) : mDirectory(directory) {}

  /// The status of what the directory could not answer.
  static constexpr int kUnavailable = 1;
  /// The status of a text that is no GUID.
  static constexpr int kMalformed = 3;

  int guidToIdentifier(std::string_view guid, Identifier& identifier) override;
  int userIDToIdentifier(std::uint32_t userID, Identifier& identifier) override;
  int checkServiceMembership(const Identifier& identifier, std::string_view service,
                             bool& isMember) override;

 private:
  DirectoryService& mDirectory;
};

}  // namespace gatehall
