#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace gatehall {

/// One switch of a host's failures: which operation fails, on which call, and how.
struct Fault {
  enum class Kind {
    PlatformException,  ///< raises gatehall::PlatformException
    OtherException,     ///< raises InjectedFailure
    Absent,             ///< answers nothing, without asking the host (InstrumentedPlatform)
  };

  /// The arguments that a call must have to count and to fail; what is left out matches any. A call
  /// that has no such argument does not match.
  struct Where {
    /// The full name of the node: the one asked or opened, the one a query runs on, the one a
    /// record is of (MetaNodeLocation). A node opened by type goes by "local" or "search" while it
    /// is being opened.
    std::optional<std::string> node = {};
    /// An attribute kind, by suffix or in full: one of those that the call names; of a query the
    /// one that it matches on.
    std::optional<std::string> attribute = {};
    /// One of a query's values, the name asked of recordByTypeAndName, the value to set, the key,
    /// domain or path of a preference, a GUID, the service of an access list. Never a password.
    std::optional<std::string> value = {};
    /// Whom the call is about: a record by its first RecordName or its UniqueID (of isMember either
    /// record), what a query or a lookup by name or user id looks for, the user of a switch as a
    /// record; elsewhere a user id in decimal.
    std::optional<std::string> user = {};
  };

  std::string operation;  ///< one of kOperations
  Kind kind = Kind::PlatformException;
  /// The only call that fails, counting from 1 those that match; left out, every one fails.
  std::optional<std::uint64_t> call = {};
  Where where = {};
  std::optional<std::string> text = {};  ///< what the exception says
};

/// What a host is not expected to raise: a failure outside of the contracts.
class InjectedFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The operations of a host that can be made to fail and that a trace records.
inline constexpr std::array<std::string_view, 31> kOperations = {
    // directory
    "defaultSession", "nodeByType", "nodeByName", "nodeName", "subnodeNames",
    "unreachableSubnodeNames", "recordByTypeAndName", "query", "queryResults", "recordType",
    "valuesForAttribute", "recordDetails", "setValue", "verifyPassword", "changePassword",
    "isMember", "passwordPolicy", "synchronize",
    // process, sessions
    "effectiveUserID", "copyCurrentSession", "copySessionList",
    // login service
    "switchToLoginScreen", "switchToUser",
    // membership
    "guidToIdentifier", "userIDToIdentifier", "checkServiceMembership",
    // parental controls
    "mayLogInNow",
    // preferences, property lists
    "copyApplicationValue", "applicationBoolean", "synchronizePreferences", "readPropertyList"};

bool isKnownOperation(std::string_view name);

}  // namespace gatehall
