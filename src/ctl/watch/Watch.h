#pragma once

#include <memory>
#include <string>

#include "ctl/request/Verb.h"
#include "ctl/watch/ListDisplay.h"
#include "gatehall/access/NetworkStatusTarget.h"
#include "gatehall/access/UserAccess.h"
#include "gatehall/access/UserAccessTarget.h"

namespace gatehall::ctl {

/// Shows the list of users and every change of it, as a login screen is told of them, while the
/// main run loop runs. On the main thread.
class Watch final : public UserAccessTarget,
                    public NetworkStatusTarget,
                    public std::enable_shared_from_this<Watch> {
 public:
  Watch(const Host& host, const Request& request);

  /// Prints the list and, where there is one, how the network answers; listens from then on. May
  /// raise PlatformException.
  void begin();

  /// Listens no longer.
  void end();

  /// Says what is about to happen.
  void announce(const std::string& event);

  /// Prints what was logged meanwhile.
  void printLog();

  /// Nothing can be printed any more.
  bool isBroken() const { return mIsBroken; }

  void visibleUsersListChanged() override;
  void networkStatusChanged() override;

 private:
  void reportList(bool isTold);
  void addNetwork();
  void addLog();
  void print();

  const Host& mHost;
  std::shared_ptr<UserAccess> mAccess;
  ListDisplay mDisplay;
  bool mIsBroken = false;
};

}  // namespace gatehall::ctl
