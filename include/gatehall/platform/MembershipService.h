#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "gatehall/base/Export.h"

namespace gatehall {

/// What the membership service knows a user or group by.
using Identifier = std::array<std::uint8_t, 16>;

/// Service access lists: which users a named service admits. From any thread; ends within the
/// host's time limit. Raises nothing; a status other than 0 is a failure, and leaves the answer
/// undefined.
class GATEHALL_EXPORT MembershipService {
 public:
  virtual ~MembershipService() = default;

  /// No access list is defined for the service.
  static constexpr int kNoAccessList = 2;

  /// A GUID's text (32 hexadecimal digits, hyphens at 8-4-4-4-12) to an identifier.
  virtual int guidToIdentifier(std::string_view guid, Identifier& identifier) = 0;

  /// A user id to the identifier of the user who has it, else one derived from the id alone.
  virtual int userIDToIdentifier(std::uint32_t userID, Identifier& identifier) = 0;

  /// Whether the identifier is in the service's access list: status 0 with the answer,
  /// kNoAccessList, or another status.
  virtual int checkServiceMembership(const Identifier& identifier, std::string_view service,
                                     bool& isMember) = 0;
};

}  // namespace gatehall
