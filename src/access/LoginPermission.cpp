#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/ProcessWide.h"
#include "gatehall/access/NetworkStatus.h"
#include "gatehall/access/USPrefs.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/GroupMembership.h"
#include "gatehall/users/UserLists.h"
#include "gatehall/users/UserLookup.h"

namespace gatehall {

namespace {

ProcessWide<UserAccess> sharedAccess;

Strings stringsOf(const Array& list) {
  Strings texts;
  for (const auto& entry : list) {
    if (const auto* text = entry.string()) texts.push_back(*text);
  }
  return texts;
}

/// A list that its writer took for a restriction restricts nobody, or everybody.
void logNamesNobody(std::string_view key, const Strings& entries) {
  constexpr std::size_t kMostShown = 20;
  std::string text(key);
  text += " names nobody:";
  for (std::size_t index = 0; index < std::min(entries.size(), kMostShown); ++index) {
    text.append(index == 0 ? " " : ", ").append(entries[index]);
  }
  if (entries.size() > kMostShown) {
    text.append(" and ").append(std::to_string(entries.size() - kMostShown)).append(" more");
  }
  platform().log().diagnostic(text);
}

/// nullptr when the preference is no list, an empty one, or names nobody known.
std::shared_ptr<const LoginList> expanded(std::string_view key,
                                          const std::optional<Array>& preference,
                                          PreferenceSource source) {
  if (!preference || preference->empty()) return nullptr;
  const std::optional entries = stringsOf(*preference);
  if (std::find(entries->begin(), entries->end(), kEveryone) != entries->end()) {
    return std::make_shared<const LoginList>(Strings{std::string(kEveryone)}, source);
  }
  auto guids = expandGUIDList(entries);
  if (!guids || guids->empty()) logNamesNobody(key, *entries);
  return guids ? std::make_shared<const LoginList>(std::move(*guids), source) : nullptr;
}

}  // namespace

bool LoginList::holds(const std::optional<std::string>& guid) const {
  return guid && std::find(guids.begin(), guids.end(), *guid) != guids.end();
}

std::shared_ptr<UserAccess> UserAccess::sharedUserAccess() {
  if (auto access = sharedAccess.get()) return access;
  const auto made = std::make_shared<UserAccess>();
  auto kept = sharedAccess.keep(made);
  if (kept == made) made->registerForNotifications();
  return kept;
}

UserAccess::~UserAccess() {
  if (Platform::isInstalled()) unregisterForNotifications();
}

LoginDecision UserAccess::decideLogin(const CachedUser& user) {
  if (!user.hasSACLAccess()) return {LoginRule::NoServiceAccess, {}};
  if (user.isInAdminGroup()) return {LoginRule::Administrator, {}};
  if (user.isLocalUser() && !user.isMobileHomeUser()) {
    PreferenceSource source{};
    const bool enabled = USPrefs::localUserLoginEnabled(&source);
    return {enabled ? LoginRule::LocalLoginEnabled : LoginRule::LocalLoginDisabled, source};
  }

  if (const auto denied = denyList()) {
    if (!NetworkStatus::sharedNetworkStatus()->parentNetworkExists() && !user.isMobileHomeUser()) {
      return {LoginRule::NetworkAway, denied->source};
    }
    if (denied->holdsEveryone()) return {LoginRule::EveryoneDenied, denied->source};
    if (denied->holds(user.getGUID())) return {LoginRule::DeniedByGUID, denied->source};
  }

  const auto allowed = allowList();
  if (!allowed) return {LoginRule::NoAllowList, PreferenceSource::Default};
  if (allowed->holdsEveryone()) return {LoginRule::EveryoneAllowed, allowed->source};
  return {allowed->holds(user.getGUID()) ? LoginRule::AllowedByGUID : LoginRule::NotInAllowList,
          allowed->source};
}

std::shared_ptr<const LoginList> UserAccess::allowList() {
  if (auto list = mAllowList.load()) return list;
  PreferenceSource source{};
  const auto preference = USPrefs::allowedList(&source);
  auto list = expanded("AllowList", preference, source);
  if (!list && preference && USPrefs::strictAllowList()) {
    list = std::make_shared<const LoginList>(Strings(), source);
  }
  mAllowList.store(list);
  return list;
}

std::shared_ptr<const LoginList> UserAccess::denyList() {
  if (auto list = mDenyList.load()) return list;
  PreferenceSource source{};
  const auto preference = USPrefs::deniedList(&source);
  auto list = expanded("DenyList", preference, source);
  mDenyList.store(list);
  return list;
}

std::shared_ptr<CachedUserList> UserAccess::allowedUsers() {
  const auto denied = denyList();
  if (denied && denied->holdsEveryone()) return nullptr;

  const auto allowed = allowList();
  const bool anyone = !allowed || allowed->holdsEveryone() ||
                      (allowed->guids.empty() && !USPrefs::strictAllowList());
  auto candidates = anyone ? networkUsers() : cachedUserListForGUIDs(allowed->guids);
  if (!denied || !candidates) return candidates;
  for (const auto& guid : denied->guids) {
    if (const auto user = candidates->findUserByGUID(guid)) candidates->removeObject(user);
  }
  return candidates;
}

bool UserAccess::checkSACLs() {
  const auto access = sharedUserAccess();
  const auto list = access->visibleUsersList();
  return list && access->checkSACLs(*list);
}

bool UserAccess::checkSACLs(CachedUserList& list) {
  CachedUserList::Users refused;
  std::copy_if(list.begin(), list.end(), std::back_inserter(refused),
               [](const auto& user) { return !user->hasSACLAccess(); });
  const auto before = list.count();
  list.removeObjects(refused);
  return list.count() != before;
}

}  // namespace gatehall
