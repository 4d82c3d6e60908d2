#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "gatehall/access/LoginDecision.h"
#include "gatehall/access/LoginList.h"
#include "gatehall/access/NetworkStatusTarget.h"
#include "gatehall/access/UserAccessTarget.h"
#include "gatehall/base/AtomicSharedPtr.h"
#include "gatehall/base/Export.h"
#include "gatehall/platform/NotificationCenter.h"
#include "gatehall/users/CachedUserList.h"

namespace gatehall {

/// Who may log in here, and the list of users that a login screen shows, kept current.
///
/// The rules may be asked on any thread. The list is handed out and changed on the main thread, and
/// rebuilt on a thread of its own. Of the operations that read preferences or the directory, what
/// the directory raises reaches the caller.
class GATEHALL_EXPORT UserAccess : public NetworkStatusTarget,
                                   public std::enable_shared_from_this<UserAccess> {
 public:
  /// The process's one instance. Observes account, session, group, settings and locale changes from
  /// its first use on, which is on the main thread; they are delivered while that runs its run
  /// loop.
  static std::shared_ptr<UserAccess> sharedUserAccess();

  ~UserAccess() override;

  // Permission

  /// Whether the user may log in here: the first rule that applies decides.
  LoginDecision decideLogin(const CachedUser& user);

  bool canUserLogIn(const CachedUser& user) { return decideLogin(user).allowed(); }

  /// The lists of the preferences, with groups expanded to their users. Kept once they are there;
  /// nullptr without a list (an empty one is none) and when it names nobody known, but for an allow
  /// list under USPrefs::strictAllowList: that is empty then. A list that comes out as nobody is
  /// logged.
  std::shared_ptr<const LoginList> allowList();
  std::shared_ptr<const LoginList> denyList();

  /// The network users whom the lists admit; nullptr when everyone is denied and when they can't be
  /// had.
  std::shared_ptr<CachedUserList> allowedUsers();

  /// Removes the users without service access from the list; true when one was removed.
  bool checkSACLs(CachedUserList& list);

  /// checkSACLs on the visible users list; false without one.
  static bool checkSACLs();

  // The visible users list

  /// The list, built now on the calling thread if there is none; nullptr when that fails.
  std::shared_ptr<CachedUserList> visibleUsersList();

  /// Rebuilds the list on a thread of its own, then tells the targets. Does nothing while such a
  /// build runs. Whether it began one.
  bool buildVisibleUsersList();

  /// A new list: local users, if asked for also network users, and everybody who is logged in; less
  /// those whom the preferences hide, unless they are logged in. Sorted by long name.
  std::shared_ptr<CachedUserList> buildVisibleUsersListWithNetworkUsers(bool networkUsers);

  /// Marks the list's users who are logged in, and adds those who are and are not in it.
  void addAndMarkLoggedInUsers(CachedUserList& list);

  /// Drops the list and rebuilds it a second later; does nothing without a list.
  void updateLoggedInUsers();

  // Changes. The handlers run on the main thread.

  void registerForNotifications();
  void registerForRosterdChanges();

  /// Ends some of the observations: those of user-interface sessions, locale and groups go on, and
  /// tell nobody once this object is gone.
  void unregisterForNotifications();

  /// A changed full name: that user's attributes are read again and the targets told. Any other
  /// change: the list is dropped and rebuilt a second later.
  void handleUserChangeNotification(const Notification& notification);

  /// Changed managed settings, changed groups: the allow and deny lists are dropped, and so is the
  /// visible list, if there is one, to be rebuilt a second later.
  void handleTavloNotification(const Notification& notification);
  void handleRosterdChangeNoficiation();

  /// The list is sorted anew and the targets told.
  void handleLocaleChange(const Notification& notification);

  /// For hosts that register this object with NetworkStatus: as updateLoggedInUsers.
  void networkStatusChanged() override;

  /// Adds the target (nullptr is ignored) unless it is there already; it is held until removed.
  void addTarget(std::shared_ptr<UserAccessTarget> target);
  void removeTarget(const std::shared_ptr<UserAccessTarget>& target);

  /// Tells every target, one after another, on the main thread.
  void notifyTargets();

 private:
  using Targets = std::vector<std::shared_ptr<UserAccessTarget>>;

  void buildVisibleUsersListThreadController();
  void observe(NotificationCenter& center, std::string_view name,
               void (UserAccess::*handler)(const Notification&));
  bool dropList();
  void rebuildLater();
  void dropLoginLists();

  AtomicSharedPtr<CachedUserList> mVisibleUsersList;
  /// The one that was dropped. The thread that builds the next one takes it apart: that of a large
  /// list would hold up the main thread.
  AtomicSharedPtr<CachedUserList> mDroppedList;
  AtomicSharedPtr<const LoginList> mAllowList;
  AtomicSharedPtr<const LoginList> mDenyList;
  /// Replaced whole, because the build thread walks it while the main thread may change it.
  AtomicSharedPtr<const Targets> mTargets;
  std::shared_ptr<RunLoopSource> mRunloopSourceSession;
  std::atomic<bool> mBuildingVisibleUsersList = false;
};

}  // namespace gatehall
