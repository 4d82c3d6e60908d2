#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>

#include "directory/FailureRegion.h"
#include "gatehall/access/NetworkStatus.h"
#include "gatehall/access/USPrefs.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/platform/Platform.h"
#include "gatehall/users/GroupMembership.h"
#include "gatehall/users/UserLists.h"

namespace gatehall {

namespace {

/// Ids below it belong to the system's own accounts.
constexpr std::uint32_t kFirstPersonUID = 501;

/// cachedUserListForName's index for equal, case-sensitive.
constexpr MatchKindIndex kEqual = 1;

std::int64_t integerOf(const Dictionary& session, std::string_view key) {
  const auto entry = session.find(key);
  return entry != session.end() ? entry->second.integerValue().value_or(0) : 0;
}

bool isLoginDone(const Dictionary& session) {
  const auto entry = session.find(session::LoginDoneKey);
  return entry != session.end() && entry->second.booleanValue().value_or(false);
}

std::optional<std::string> userNameOf(const Dictionary& session) {
  const auto entry = session.find(session::UserNameKey);
  const auto* name = entry != session.end() ? entry->second.string() : nullptr;
  return name != nullptr ? std::optional(*name) : std::nullopt;
}

void mark(CachedUser& user, bool isCurrent) {
  user.setCurrentUser(isCurrent ? 1 : 0);
  user.setSuspended(1);
}

std::shared_ptr<CachedUser> findLoggedInUser(const CachedUserList& list, const std::string& name,
                                             std::int32_t userID) {
  for (const auto& user : list) {
    if (user->shortName() == name && user->getUid() == static_cast<std::uint32_t>(userID)) {
      return user;
    }
  }
  return nullptr;
}

/// Whom the preferences hide while they are not logged in.
class HiddenUsers {
 public:
  HiddenUsers() : mHide500Users(USPrefs::hide500Users()) {
    for (const auto& name : USPrefs::hiddenUsersList().value_or(Array())) {
      if (const auto* text = name.string()) mNames.insert(*text);
    }
    mShowMobileHomeUsers = USPrefs::showMobileHomeUsers();
  }

  bool hides(const CachedUser& user) const {
    if (user.isRootUser()) return true;
    if (mHide500Users && user.getUid() < kFirstPersonUID) return true;
    const auto name = user.shortName();
    if (name && mNames.contains(*name)) return true;
    return !mShowMobileHomeUsers && user.isMobileHomeUser();
  }

 private:
  bool mHide500Users;
  std::unordered_set<std::string> mNames;
  bool mShowMobileHomeUsers;
};

}  // namespace

void UserAccess::addAndMarkLoggedInUsers(CachedUserList& list) {
  const auto current = platform().sessions().copyCurrentSession();
  if (!current) return;
  const auto currentID = integerOf(*current, session::IDKey);
  const auto sessions = platform().sessions().copySessionList();
  if (!sessions) return;
  for (const auto& session : *sessions) {
    if (!session || !isLoginDone(*session)) continue;
    const auto name = userNameOf(*session);
    const auto userID = static_cast<std::int32_t>(integerOf(*session, session::UserIDKey));
    const bool isCurrent = integerOf(*session, session::IDKey) == currentID;
    if (const auto user = name ? findLoggedInUser(list, *name, userID) : nullptr) {
      mark(*user, isCurrent);
      continue;
    }
    if (name == "root") continue;
    const auto found = searchNodeUsersForName(name, userID, kEqual);
    if (!found) continue;
    for (const auto& user : *found) {
      mark(*user, isCurrent);
      list.addObject(user);
    }
  }
}

std::shared_ptr<CachedUserList> UserAccess::buildVisibleUsersListWithNetworkUsers(
    bool networkUsers) {
  std::shared_ptr<CachedUserList> local;
  if (USPrefs::localUserLoginEnabled() && USPrefs::showLocalUsers()) local = localNodeUsers();
  std::shared_ptr<CachedUserList> network;
  if (networkUsers && NetworkStatus::sharedNetworkStatus()->parentNetworkExists() &&
      USPrefs::showNetworkUsers()) {
    network = allowedUsers();
  }

  auto list = CachedUserList::cachedUserList();
  CachedUserList::Users removals;
  if (local) list->addCachedUserList(std::move(*local));
  if (network) {
    for (const auto& user : *list) {
      const auto guid = user->getGUID();
      const bool admitted = guid && network->findUserByGUID(*guid);
      if (user->isMobileHomeUser() && !admitted) removals.push_back(user);
    }
    list->addCachedUserList(*network);
  }
  addAndMarkLoggedInUsers(*list);

  const HiddenUsers hidden;
  for (const auto& user : *list) {
    if (!user->isSuspended() && hidden.hides(*user)) removals.push_back(user);
  }
  if (!USPrefs::showAdminUsers()) {
    auto admins = loggingFailure("Unable to find the administrators.",
                                 std::shared_ptr<CachedUserList>(), adminGroupUsers);
    if (!admins) admins = CachedUserList::cachedUserList();
    for (const auto& admin : *admins) {
      const auto guid = admin->getGUID();
      const auto user = guid ? list->findUserByGUID(*guid) : nullptr;
      if (user && !user->isSuspended()) removals.push_back(user);
    }
  }
  list->removeObjects(removals);
  list->sortUsingSelector(&CachedUser::cachedUserLongNameCompare);
  return list;
}

std::shared_ptr<CachedUserList> UserAccess::visibleUsersList() {
  if (auto list = mVisibleUsersList.load()) return list;
  auto list = buildVisibleUsersListWithNetworkUsers(false);
  if (list) mVisibleUsersList.store(list);
  if (NetworkStatus::sharedNetworkStatus()->parentNetworkExists() && USPrefs::showNetworkUsers()) {
    buildVisibleUsersList();
  }
  return list;
}

bool UserAccess::buildVisibleUsersList() {
  auto& runLoop = platform().runLoop();
  if (mBuildingVisibleUsersList.exchange(true)) return false;
  try {
    runLoop.detachNewThread(
        [self = shared_from_this()] { self->buildVisibleUsersListThreadController(); });
  } catch (const PlatformException& failure) {
    mBuildingVisibleUsersList = false;
    platform().log().error(std::string("Unable to create user list: ") + failure.what());
    return false;
  }
  return true;
}

void UserAccess::buildVisibleUsersListThreadController() {
  mDroppedList.store(nullptr);
  std::shared_ptr<CachedUserList> list;
  try {
    list = buildVisibleUsersListWithNetworkUsers(false);
  } catch (const PlatformException& failure) {
    platform().log().error(std::string("Unable to create user list: ") + failure.what());
  }
  if (list) mVisibleUsersList.store(std::move(list));
  notifyTargets();
  mBuildingVisibleUsersList = false;
}

void UserAccess::updateLoggedInUsers() {
  if (dropList()) rebuildLater();
}

}  // namespace gatehall
