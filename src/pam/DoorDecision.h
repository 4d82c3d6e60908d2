#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "gatehall/access/LoginDecision.h"
#include "gatehall/base/Value.h"
#include "gatehall/platform/Log.h"

/// What becomes of somebody who stands at one of the machine's doors, the services of pam.d(5) that
/// open sessions: the login rules, for whoever has passed the password.
namespace gatehall::pam {

/// Who stands there, by what the machine's own files and its name service say.
struct Visitor {
  std::string userName;
  std::optional<std::uint32_t> userID;  ///< by the name service; absent: it knows nobody
  bool isLocalAdministrator = false;    ///< or root, by the machine's own files
};

struct Door {
  std::string service;
  bool isLocal = false;  ///< who passes sits at the machine
  bool hours = false;    ///< login hours count
  std::string fault{};   ///< why nothing can be decided there; empty: it can
};

struct DoorDecision {
  DecisionRecord::Answer answer;
  std::optional<LoginRule> rule{};
  std::optional<PreferenceSource> source{};
  bool isNeverShut = false;          ///< root, or a local administrator, at a local door
  bool isUnlisted = false;           ///< no directory that the policy can name has the account
  bool isOutsideHours = false;       ///< the login hours refuse, whom all else admits
  std::optional<Date> hoursBegin{};  ///< when they begin again; absent: not known
  std::uint32_t userID = DecisionRecord::kUnknown;
  std::string reason{};  ///< why it is undecidable; else empty

  bool isAdmitted() const { return answer == DecisionRecord::Answer::Admitted; }
};

/// Decides, on the installed platform. Whether the account has a password, and which, is not asked:
/// that is for the door. Raises nothing of the platform's: what can't be told is undecidable.
///
/// An account that the name service has, and no directory of the platform, is refused as soon as
/// there is a service access list, a deny list, or an allow list that isn't everybody's: none can
/// be held against it. One of the user id of another account is undecidable.
DoorDecision decideAtDoor(const Door& door, const Visitor& visitor);

/// The decision as it is kept.
DecisionRecord recordOf(const Door& door, const Visitor& visitor, const DoorDecision& decision);

}  // namespace gatehall::pam
