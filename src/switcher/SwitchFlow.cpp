#include "switcher/SwitchFlow.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/UserLookup.h"

namespace gatehall {

namespace {

constexpr std::string_view kSuspend = "-suspend";
constexpr std::string_view kSwitchToUserID = "-switchToUserID";

bool callerMaySwitch(std::uint32_t caller) {
  auto& log = platform().log();
  if (caller == 0) {
    log.error("User is root user.");
    return true;
  }
  if (const auto current = platform().sessions().copyCurrentSession()) {
    const auto entry = current->find(session::UserIDKey);
    const auto owner = entry != current->end() ? entry->second.integerValue().value_or(0) : 0;
    if (static_cast<std::uint32_t>(owner) == caller) return true;
  }
  log.error("Unable to Fast User Switch: User must be the current console user or root.");
  return false;
}

/// What the login service is given: the user's attributes and, for an account that accepts the
/// empty password, that password, so that nobody is asked for it. A guest is never asked.
Dictionary switchAttributes(const CachedUser& user) {
  const bool emptyPassword = !user.isGuestUser() && user.authenticate("") == 0;
  auto attributes = user.attributes();
  if (!attributes) throw PlatformException("The user's attributes can't be read.");
  if (emptyPassword) attributes->insert_or_assign(std::string(kUserPasswordKey), "");
  return std::move(*attributes);
}

/// What is kept of a decision about that user; a host without a log of them keeps nothing.
class KeptDecision {
 public:
  KeptDecision(std::uint32_t caller, std::int32_t userID) : mLog(platform().decisionLog()) {
    mRecord.caller = caller;
    mRecord.userID = static_cast<std::uint32_t>(userID);
  }

  void keep(const CachedUser& user, const LoginDecision& decision) {
    if (mLog == nullptr) return;
    using enum DecisionRecord::Answer;
    mRecord.answer = decision.allowed() ? Admitted : Refused;
    mRecord.userName = user.shortName().value_or("");
    mRecord.rule = description(decision.rule);
    if (decision.source) mRecord.source = description(*decision.source);
    mLog->keep(mRecord);
  }

  void keepUnknown() {
    if (mLog == nullptr) return;
    const auto why = whyUserIsUnknown(static_cast<std::int32_t>(mRecord.userID));
    mRecord.answer = why ? DecisionRecord::Answer::Undecidable : DecisionRecord::Answer::NotFound;
    mRecord.reason = why.value_or("");
    mLog->keep(mRecord);
  }

  void keepUndecidable(const CachedUser* user, std::string_view reason) {
    if (mLog == nullptr) return;
    mRecord.answer = DecisionRecord::Answer::Undecidable;
    if (user != nullptr) mRecord.userName = user->shortName().value_or("");
    mRecord.reason = reason;
    mLog->keep(mRecord);
  }

 private:
  DecisionLog* const mLog;
  DecisionRecord mRecord;
};

/// The user, if there is one and the rules admit it.
std::shared_ptr<CachedUser> admittedUser(std::uint32_t caller, std::int32_t userID) {
  KeptDecision kept(caller, userID);
  std::shared_ptr<CachedUser> user;
  try {
    user = cachedUserForUID(userID);
    if (!user) {
      kept.keepUnknown();
      return nullptr;
    }
    const auto decision = UserAccess::sharedUserAccess()->decideLogin(*user);
    kept.keep(*user, decision);
    return decision.allowed() ? user : nullptr;
  } catch (const PlatformException& failure) {
    kept.keepUndecidable(user.get(), failure.what());
    throw;
  }
}

/// Asks the login service for the switch, if the rules admit the user.
void switchToUserID(std::uint32_t caller, std::int32_t userID, bool isLastUser) {
  const auto user = admittedUser(caller, userID);
  if (!user) return;
  try {
    const auto attributes = switchAttributes(*user);
    if (isLastUser) platform().process().giveUpRights();
    platform().loginService().switchToUser(attributes);
  } catch (const PlatformException&) {
    platform().log().error("Unable to Fast User Switch: unable to switch to the selected user.");
  }
}

/// Whether the walk through these words comes to a user.
bool nameAUser(std::span<const std::string_view> words) {
  const auto word = std::ranges::find_if(words, [](auto each) {
    return each.starts_with(kSuspend) || each.starts_with(kSwitchToUserID);
  });
  return word != words.end() && word->starts_with(kSwitchToUserID) && word + 1 != words.end();
}

}  // namespace

void runSwitch(std::span<const std::string_view> words) {
  const auto caller = platform().process().effectiveUserID();
  if (!callerMaySwitch(caller)) return;
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (word->starts_with(kSuspend)) {
      platform().process().giveUpRights();
      platform().loginService().switchToLoginScreen();
      return;
    }
    if (!word->starts_with(kSwitchToUserID)) continue;
    if (++word == words.end()) return;
    const bool isLastUser = !nameAUser({word + 1, words.end()});
    switchToUserID(caller, static_cast<std::int32_t>(integerPrefix(*word)), isLastUser);
  }
}

}  // namespace gatehall
