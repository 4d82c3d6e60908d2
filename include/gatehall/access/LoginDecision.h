#pragma once

#include <optional>

#include "gatehall/access/PreferenceSource.h"
#include "gatehall/base/Export.h"

namespace gatehall {

/// The rules that decide whether a user may log in, in the order in which they are asked.
enum class LoginRule {
  NoServiceAccess,     ///< not in the service access list: refused
  Administrator,       ///< admitted, whatever the lists below say
  LocalLoginEnabled,   ///< local, not mobile: admitted
  LocalLoginDisabled,  ///< local, not mobile: refused
  NetworkAway,         ///< there is a deny list, but no network to hold it against: refused
  EveryoneDenied,      ///< the deny list holds "*"
  DeniedByGUID,        ///< the deny list holds the user
  NoAllowList,         ///< admitted
  EveryoneAllowed,     ///< the allow list holds "*"
  AllowedByGUID,       ///< the allow list holds the user
  NotInAllowList,      ///< refused
};

/// Whether the rule admits.
GATEHALL_EXPORT bool admits(LoginRule rule);

/// The rule in words: "denied by GUID".
GATEHALL_EXPORT const char* description(LoginRule rule);

/// Why somebody may or may not log in: the first rule that applied, and where the setting behind it
/// came from, if there is one.
struct GATEHALL_EXPORT LoginDecision {
  LoginRule rule;
  std::optional<PreferenceSource> source;

  bool allowed() const { return admits(rule); }
};

}  // namespace gatehall
