#include "gatehall/access/LoginDecision.h"

namespace gatehall {

bool admits(LoginRule rule) {
  switch (rule) {
    case LoginRule::Administrator:
    case LoginRule::LocalLoginEnabled:
    case LoginRule::NoAllowList:
    case LoginRule::EveryoneAllowed:
    case LoginRule::AllowedByGUID:
      return true;
    case LoginRule::NoServiceAccess:
    case LoginRule::LocalLoginDisabled:
    case LoginRule::NetworkAway:
    case LoginRule::EveryoneDenied:
    case LoginRule::DeniedByGUID:
    case LoginRule::NotInAllowList:
      break;
  }
  return false;
}

const char* description(LoginRule rule) {
  switch (rule) {
    case LoginRule::NoServiceAccess:
      return "no service access";
    case LoginRule::Administrator:
      return "administrator";
    case LoginRule::LocalLoginEnabled:
      return "local login enabled";
    case LoginRule::LocalLoginDisabled:
      return "local login disabled";
    case LoginRule::NetworkAway:
      return "network away";
    case LoginRule::EveryoneDenied:
      return "everyone denied";
    case LoginRule::DeniedByGUID:
      return "denied by GUID";
    case LoginRule::NoAllowList:
      return "no allow list";
    case LoginRule::EveryoneAllowed:
      return "everyone allowed";
    case LoginRule::AllowedByGUID:
      return "allowed by GUID";
    case LoginRule::NotInAllowList:
      break;
  }
  return "not in the allow list";
}

}  // namespace gatehall
