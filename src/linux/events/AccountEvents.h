#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "linux/bus/BusWatch.h"
#include "linux/events/AccountNotifications.h"
#include "linux/loop/MainLoop.h"
#include "portable/LocalNotificationCenter.h"

namespace gatehall {

/// The properties of the interface that a signal PropertiesChanged says have changed; none when the
/// signal is not made like one.
std::set<std::string, std::less<>> changedProperties(const BusSignal& signal,
                                                     std::string_view interface);

/// Posts what AccountsService says about accounts: added, deleted, locked, unlocked, shown
/// otherwise, limited otherwise in their sessions. Its signal Changed is left alone: it comes for
/// every account whenever one of them logs in.
///
/// AccountsService keeps silent about accounts beyond the first fifty, and where it doesn't run
/// about all: the account files' own changes are posted as a refresh of the list, unless it says
/// more within a moment. On the main thread.
class AccountEvents {
 public:
  AccountEvents(BusWatch& bus, MainLoop& runLoop, LocalNotificationCenter& distributed,
                AccountNotifications notifications);

  /// Somebody wrote an account file.
  void fileChanged();

 private:
  void accountsChanged(const BusSignal& signal);
  void propertiesChanged(const BusSignal& signal);
  void lockChanged(const BusSignal& signal);
  void post(std::string_view notification);

  BusWatch& mBus;
  MainLoop& mRunLoop;
  LocalNotificationCenter& mDistributed;
  AccountNotifications mNotifications;
  std::uint64_t mPosted = 0;  ///< notifications for which lists are built anew
  bool mWasThere = false;
};

}  // namespace gatehall
