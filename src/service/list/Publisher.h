#pragma once

#include <chrono>
#include <memory>

#include "gatehall/access/NetworkStatusTarget.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/access/UserAccessTarget.h"
#include "service/list/Published.h"
#include "service/list/Sequence.h"

namespace gatehall::service {

/// Publishes every state of the visible list, as the layer tells of it, while the main run loop
/// runs. The layer waits for a second before it builds the list anew, until a burst of changes is
/// over; here it is asked to begin at once, and its own build is the one that confirms. A list that
/// can't be had changes nothing about the one before. On the layer's main thread.
class Publisher final : public UserAccessTarget,
                        public NetworkStatusTarget,
                        public std::enable_shared_from_this<Publisher> {
 public:
  explicit Publisher(Audience audience);

  /// Publishes the network's state and the first list; listens from then on. A list that can't be
  /// had is tried again, later and later.
  void begin();

  /// Listens no longer.
  void end();

  void visibleUsersListChanged() override;
  void networkStatusChanged() override;

 private:
  void publish();
  void tellNetwork();
  void tryAgain();
  void observeNews();
  void buildNow();
  void rest();

  const Audience mAudience;
  std::shared_ptr<UserAccess> mAccess;
  Sequence mList;
  Sequence mWithoutHours;
  double mPause;  ///< in seconds, until a list is tried again that couldn't be had
  bool mIsToTryAgain = false;
  bool mIsBuilding = false;  ///< at once
  bool mIsResting = false;   ///< after that
  bool mIsStale = false;     ///< there was news since the build began
  std::chrono::steady_clock::time_point mBegan;
  std::shared_ptr<RunLoopSource> mConsole;
  std::shared_ptr<RunLoopSource> mGroups;
  std::shared_ptr<RunLoopSource> mFiles;
};

}  // namespace gatehall::service
