#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "linux/ldap/client/URI.h"
#include "linux/records/AccountID.h"

namespace gatehall::ldap {

/// Which attributes a directory keeps its accounts in, before what the settings say otherwise.
enum class Profile { Rfc2307, Rfc2307bis, ActiveDirectory };

/// One table [[directory]] of /etc/gatehall/directory.toml; gatehall-directory.toml(5) says what
/// each setting means.
struct Settings {
  enum class Tls { Verified, Unverified, Off };
  enum class WhenAway { Refuse, Ignore };
  using AttributeNames = std::map<std::string, std::string, std::less<>>;

  std::string name;
  std::uint64_t line = 0;  ///< of its table
  std::vector<URI> servers;
  std::string usersBase;
  std::string groupsBase;
  std::string usersFilter;   ///< RFC 4515; only entries that it takes are users; "": all
  std::string groupsFilter;  ///< the same for groups
  Profile profile = Profile::Rfc2307;
  AttributeNames userAttributes;   ///< attribute kind to LDAP attribute
  AttributeNames groupAttributes;  ///< the same for groups
  bool mapsIDs = false;            ///< ids are made of objectSid (securityID::mappedID)
  Tls tls = Tls::Verified;
  std::string caFile = "/etc/ssl/certs/ca-certificates.crt";
  std::string certificateFile;      ///< that this machine shows servers, in PEM; "": none
  std::string keyFile;              ///< its key
  bool bindsByCertificate = false;  ///< SASL's EXTERNAL (RFC 4422, appendix A)
  std::string bindName;             ///< a DN, or a userPrincipalName; "": anonymous
  std::string bindPasswordFile;     ///< of the account that binds
  std::string passwordPolicy;       ///< DN of the policy of accounts that name none; "": none
  std::chrono::milliseconds timeLimit{2000};        ///< for one answer of a server
  std::chrono::milliseconds totalTimeLimit{30000};  ///< for all answers to one question
  std::optional<std::int32_t> pageSize;  ///< entries; absent: as many as the server sends fast
  bool followsReferrals = false;
  UserIDRange userIDs;  ///< of accounts; others' are left out
  WhenAway whenAway = WhenAway::Refuse;

  /// What should describe a directory, and can't be used: nobody knows which entries are missing.
  struct Unusable {
    std::string place;  ///< "FILE:LINE", or the file
    std::string fault;  ///< why, as the log says it
    std::uint64_t line = 0;
  };
  using Configured = std::variant<Settings, Unusable>;

  /// The directories but those of other kinds, in the file's order. Of one that is set up wrongly
  /// the log names file, line and key.
  static std::vector<Configured> readAll(const HostOptions& options, FaultLog& faults);
};

}  // namespace gatehall::ldap
