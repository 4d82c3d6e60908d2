#pragma once

#include <atomic>
#include <memory>

#include "access/LoginDecision.h"
#include "access/LoginList.h"
#include "users/CachedUserList.h"

namespace gatehall {

/// Who may log in here. Of the operations that read preferences or the directory, what the
/// directory raises reaches the caller. From any thread.
class UserAccess {
 public:
  /// The process's one instance.
  static std::shared_ptr<UserAccess> sharedUserAccess();

  /// Whether the user may log in here: the first rule that applies decides.
  LoginDecision decideLogin(const CachedUser& user);

  bool canUserLogIn(const CachedUser& user) { return decideLogin(user).allowed(); }

  /// The lists of the preferences, with groups expanded to their users. Kept once they are there;
  /// nullptr without a list (an empty one is none) and when it names nobody known.
  std::shared_ptr<const LoginList> allowList();
  std::shared_ptr<const LoginList> denyList();

  /// The network users whom the lists admit; nullptr when everyone is denied and when they can't be
  /// had.
  std::shared_ptr<CachedUserList> allowedUsers();

  /// Removes the users without service access from the list; true when one was removed.
  bool checkSACLs(CachedUserList& list);

 private:
  std::atomic<std::shared_ptr<const LoginList>> mAllowList;
  std::atomic<std::shared_ptr<const LoginList>> mDenyList;
};

}  // namespace gatehall
