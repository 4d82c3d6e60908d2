#include "pam/DoorDecision.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "gatehall/access/USPrefs.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall::pam {

namespace {

using Answer = DecisionRecord::Answer;

constexpr std::string_view kAccessListOf = "gatehall";

/// nullptr when no directory has the name. Raises PlatformException when that can't be told, and
/// when the name stands for different accounts there and in the name service.
std::shared_ptr<DirectoryRecord> recordOf(const Visitor& visitor) {
  const auto node = searchNode();
  const auto found =
      queryResults(node, equalTo({record::Users}, attribute::RecordName, {visitor.userName},
                                 CachedUser::desiredAttributes()));
  if (!found) throw PlatformException("The directory does not answer.");
  if (found->empty()) return nullptr;
  for (const auto& each : *found) {
    if (visitor.userID ? getUID(*each) == *visitor.userID : found->size() == 1) return each;
  }
  throw PlatformException(visitor.userID
                              ? "The name service and the directory have different user ids."
                              : "Several accounts have the name.");
}

/// The record's user, also where the login screen would not offer it, having no password or shell
/// to log in with: whether those will do is for the door.
std::shared_ptr<CachedUser> userOf(const std::shared_ptr<DirectoryRecord>& record) {
  if (auto user = CachedUser::cachedUserWithDirvoRecord(record)) return user;
  auto attributes = record->recordDetails({});
  if (!attributes) throw PlatformException("The account can't be read.");
  for (const auto kind :
       {attribute::UserShell, attribute::AuthenticationAuthority, attribute::Password}) {
    attributes->erase(std::string(kind));
  }
  auto user = CachedUser::cachedUserWithAttributes(*attributes);
  if (!user) throw PlatformException("The account has no name or no user id.");
  return user;
}

/// Whether there is a service access list, or may be.
bool hasAccessList(std::uint32_t userID) {
  auto& membership = platform().membership();
  Identifier identifier{};
  if (membership.userIDToIdentifier(userID, identifier) != 0) return true;
  bool isMember = false;
  return membership.checkServiceMembership(identifier, kAccessListOf, isMember) !=
         MembershipService::kNoAccessList;
}

/// Raises PlatformException when the session would be another account's: of root, or of one that a
/// directory has.
void requireOwnUserID(std::uint32_t userID) {
  const auto found = queryResults(
      searchNode(), equalTo({record::Users}, attribute::UniqueID, {std::to_string(userID)},
                            CachedUser::desiredAttributes()));
  if (!found) throw PlatformException("The directory does not answer.");
  if (userID == 0 || !found->empty()) throw PlatformException("The user id is another account's.");
}

/// An account that only the name service has is a network's whose directory the policy doesn't
/// know.
DoorDecision decideUnlisted(std::uint32_t userID) {
  requireOwnUserID(userID);
  // A list counts that names nobody whom the policy knows: it may be this one.
  const auto denied = USPrefs::deniedList().value_or(Array());
  const auto allowed = USPrefs::allowedList().value_or(Array());
  const bool isClosed =
      !allowed.empty() && std::ranges::find(allowed, Value(kEveryone)) == allowed.end();
  const bool mayBeMeant = hasAccessList(userID) || !denied.empty() || isClosed;
  DoorDecision decision{.answer = mayBeMeant ? Answer::Refused : Answer::Admitted};
  decision.isUnlisted = true;
  decision.userID = userID;
  return decision;
}

DoorDecision decideByRules(const Visitor& visitor) {
  const auto record = recordOf(visitor);
  if (!record) {
    return visitor.userID ? decideUnlisted(*visitor.userID)
                          : DoorDecision{.answer = Answer::NotFound};
  }
  const auto user = userOf(record);
  const auto login = UserAccess::sharedUserAccess()->decideLogin(*user);
  return {.answer = login.allowed() ? Answer::Admitted : Answer::Refused,
          .rule = login.rule,
          .source = login.source,
          .userID = user->getUid()};
}

void applyHours(DoorDecision& decision) {
  std::int32_t result = 0;
  std::optional<Date> change;
  if (platform().parentalControls().mayLogInNow(decision.userID, result, change)) return;
  decision.answer = Answer::Refused;
  decision.isOutsideHours = true;
  decision.hoursBegin = change;
}

std::string_view ruleInWords(const DoorDecision& decision) {
  if (decision.isNeverShut) return "never shut out";
  if (decision.isOutsideHours) return "outside of login hours";
  if (decision.isUnlisted) return "in no directory of the policy";
  return decision.rule ? description(*decision.rule) : "";
}

}  // namespace

DoorDecision decideAtDoor(const Door& door, const Visitor& visitor) {
  const auto userID = visitor.userID.value_or(DecisionRecord::kUnknown);
  // Their refusal could only be mended by somebody who takes the machine apart.
  if (door.isLocal && visitor.isLocalAdministrator) {
    return {.answer = Answer::Admitted, .isNeverShut = true, .userID = userID};
  }
  if (!door.fault.empty()) {
    return {.answer = Answer::Undecidable, .userID = userID, .reason = door.fault};
  }
  try {
    auto decision = decideByRules(visitor);
    if (decision.isAdmitted() && door.hours) applyHours(decision);
    return decision;
  } catch (const PlatformException& failure) {
    return {.answer = Answer::Undecidable, .userID = userID, .reason = failure.what()};
  }
}

DecisionRecord recordOf(const Door& door, const Visitor& visitor, const DoorDecision& decision) {
  DecisionRecord record;
  record.caller = platform().process().effectiveUserID();
  record.userID = decision.userID;
  record.userName = visitor.userName;
  record.answer = decision.answer;
  record.rule = ruleInWords(decision);
  if (decision.source) record.source = description(*decision.source);
  record.reason = decision.reason;
  record.service = door.service;
  return record;
}

}  // namespace gatehall::pam
