#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"

namespace gatehall {

class DirectoryNode;
class DirectoryQuery;
class DirectoryRecord;

/// Numbers are the service's own codes.
enum class NodeType : std::uint32_t { Local = 0x2200, Search = 0x2201 };

enum class MatchType : std::uint32_t {
  EqualTo = 0x2001,
  EqualToIgnoringCase = 0x2101,
  Contains = 0x2004,
  ContainsIgnoringCase = 0x2104,
};

/// The place of the first network node among those that the search node covers, counted from 0.
inline constexpr std::size_t kFirstNetworkNode = 2;

/// The domain of errors that carry one of the directory's own codes.
inline constexpr std::string_view kDirectoryErrorDomain = "com.orvane.Lexidir";

/// What a refused operation says about itself. A service that has nothing to say leaves it as it
/// is: no domain, code 0.
struct GATEHALL_EXPORT DirectoryError {
  std::optional<std::string> domain;
  std::int64_t code = 0;
};

struct GATEHALL_EXPORT QueryDescription {
  Strings recordTypes;    ///< one or more of the names in gatehall::record
  std::string attribute;  ///< the kind to match on
  MatchType match;        ///< how a record's value is compared
  Strings values;         ///< a record matches when any of its values matches any of these
  Strings returning;      ///< kinds to fetch with each record; may be empty
  std::uint32_t maximumResults = 0;  ///< 0: no limit
};

/// The directory: accounts, groups and the nodes that hold them.
///
/// Every operation of this header runs synchronously on the calling thread and may be called from
/// any thread; one that needs the network ends within the host's time limit. Where an operation can
/// answer absent (nullptr, std::nullopt), absent means that what was asked for does not exist or
/// could not be reached; a host may raise instead where it knows that it could not be reached.
/// Operations that may raise PlatformException say so.
///
/// Attribute kinds are accepted by suffix and in full (attribute::canonical) and handed out by
/// suffix.
class GATEHALL_EXPORT DirectoryService {
 public:
  virtual ~DirectoryService() = default;

  /// The process's shared connection; absent when there is no directory service. May raise.
  virtual std::shared_ptr<class DirectorySession> defaultSession() = 0;
};

class GATEHALL_EXPORT DirectorySession {
 public:
  virtual ~DirectorySession() = default;

  /// Opens the node of that type; absent when it can't be opened. May raise.
  virtual std::shared_ptr<DirectoryNode> nodeByType(NodeType type) = 0;

  /// Opens the node of that full name; absent when there is none or it can't be reached. May raise.
  virtual std::shared_ptr<DirectoryNode> nodeByName(std::string_view name) = 0;
};

class GATEHALL_EXPORT DirectoryNode {
 public:
  virtual ~DirectoryNode() = default;

  /// The node's full name, as records carry it in MetaNodeLocation. May raise.
  virtual std::optional<std::string> nodeName() = 0;

  /// The names of the nodes that the search node covers, in search order; absent for other nodes
  /// and after a failure. May raise.
  ///
  /// The first two places are the machine's own: the local node stands in the first, in the second
  /// that of its flat files ("unix"), which may be empty. Network nodes are those from
  /// kFirstNetworkNode on. The layer knows them by their places alone, so a host that has network
  /// nodes fills both places before them; one without any may leave the second out.
  virtual std::optional<Strings> subnodeNames() = 0;

  /// Those of the covered nodes that can't be reached now, never one of the first two; absent as
  /// for subnodeNames. May raise.
  virtual std::optional<Strings> unreachableSubnodeNames() = 0;

  /// The one record of that type whose RecordName has a value equal to the name (case-sensitive),
  /// with the listed kinds fetched (none: nothing beyond its identity). Absent when there is none.
  /// May raise.
  virtual std::shared_ptr<DirectoryRecord> recordByTypeAndName(std::string_view type,
                                                               std::string_view name,
                                                               const Strings& attributes) = 0;

  /// A query on this node; nothing runs until its results are asked for. Absent when it can't be
  /// built. May raise.
  virtual std::shared_ptr<DirectoryQuery> query(QueryDescription description) = 0;
};

class GATEHALL_EXPORT DirectoryQuery {
 public:
  virtual ~DirectoryQuery() = default;

  /// Runs the query: the matching records, of the search node in the order of the nodes covered.
  /// An empty list when nothing matches; absent after a failure. Without allowPartial a node that
  /// fails midway makes the whole answer absent or raises. May raise.
  virtual std::optional<std::vector<std::shared_ptr<DirectoryRecord>>> results(
      bool allowPartial) = 0;
};

/// One account or group. Attributes that a query did not return are fetched on demand, so a record
/// answers for every kind it has.
class GATEHALL_EXPORT DirectoryRecord {
 public:
  virtual ~DirectoryRecord() = default;

  /// "Users", "Groups". May raise.
  virtual std::string recordType() = 0;

  /// The record's values of the kind, in the record's order; absent or empty when it has none. May
  /// raise.
  virtual std::optional<Strings> valuesForAttribute(std::string_view kind) = 0;

  /// Kind to array of strings, for the listed kinds that the record has (an empty list: all it
  /// has). Absent after a failure. May raise.
  virtual std::optional<Dictionary> recordDetails(const Strings& kinds) = 0;

  /// Replaces the kind's values by one; false when the directory refuses. May raise.
  virtual bool setValue(std::string_view value, std::string_view kind) = 0;

  /// True when the password is the account's. A refusal fills the error as far as the directory has
  /// something to say; one with a domain has a code other than 0, which would read as accepted.
  /// Never counts as a failed login attempt of the host's. May raise.
  virtual bool verifyPassword(std::string_view password, DirectoryError& error) = 0;

  /// Changes the account's password; a refusal fills the error as that of verifyPassword. May
  /// raise.
  virtual bool changePassword(std::string_view oldPassword, std::string_view newPassword,
                              DirectoryError& error) = 0;

  /// Asked of a group: whether the record is a member, directly or through nested groups, at any
  /// depth. May raise.
  virtual bool isMember(DirectoryRecord& member) = 0;

  /// The account's password policy; absent when it has none. Keys, all optional, with numeric,
  /// boolean or decimal-text values: newPasswordRequired, usingExpirationDate,
  /// usingHardExpirationDate, canModifyPasswordforSelf (booleans), maxMinutesUntilChangePassword,
  /// maxMinutesUntilDisabled, maxMinutesOfNonUse (minutes, 0 none), maxFailedLoginAttempts (0
  /// none), passwordLastSetTime (seconds since 1970-01-01 00:00 UTC). May raise.
  virtual std::optional<Dictionary> passwordPolicy() = 0;

  /// Drops what was fetched, so that the next question sees the directory's present state; false
  /// when the record could not be refreshed. May raise.
  virtual bool synchronize() = 0;
};

}  // namespace gatehall
