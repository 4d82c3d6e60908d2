#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gatehall/base/Export.h"
#include "gatehall/base/Value.h"
#include "gatehall/platform/RunLoop.h"

namespace gatehall {

struct GATEHALL_EXPORT Notification {
  std::string name;
  std::optional<Dictionary> userInfo;
};

/// The in-process name under which the host posts that the current locale changed.
inline constexpr std::string_view kCurrentLocaleDidChangeNotification =
    "com.orvane.CurrentLocaleDidChangeNotification";

/// Notifications by name, to observers in this process. The host has two centres: the in-process
/// one and the distributed one, whose notifications come from any process of the machine.
class GATEHALL_EXPORT NotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;

  virtual ~NotificationCenter() = default;

  /// Calls the handler for each notification of that name, from any sender, on the main thread,
  /// from its run loop, until the observation is removed or the host goes. From any thread.
  ///
  /// The observer is an identity to remove by and no more: a host reads nothing behind it, and an
  /// observation may outlive it. What the handler needs it therefore holds itself, weakly if that
  /// may go before the observation does.
  virtual void addObserver(const void* observer, std::string_view name, Handler handler) = 0;

  /// Ends the observer's observations of that name; none is fine. What was posted and not delivered
  /// yet is not told any more. From any thread; one that isn't the main one doesn't wait for a
  /// handler that runs.
  virtual void removeObserver(const void* observer, std::string_view name) = 0;
};

/// System-wide named notifications, without content, delivered through a source of the main run
/// loop.
class GATEHALL_EXPORT SystemNotifications {
 public:
  virtual ~SystemNotifications() = default;

  /// A source that calls the handler on the main thread for each notification of that name, once it
  /// was added to the main run loop; nullptr when the name can't be registered. From the main
  /// thread.
  virtual std::shared_ptr<RunLoopSource> registerName(std::string_view name,
                                                      std::function<void()> handler) = 0;
};

}  // namespace gatehall
