#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "gatehall/base/Value.h"
#include "gatehall/platform/Log.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"

namespace gatehall {

/// A signal on the bus.
struct BusSignal {
  std::string path;
  std::string interface;
  std::string member;
  Array values;  ///< as SystemBus::call describes them
};

/// Listens to the system bus, on the main run loop, for as long as it lives. A bus that goes away
/// is looked for again, in growing intervals. Never waits. On the main thread.
class BusWatch {
 public:
  using Handler = std::function<void(const BusSignal&)>;

  BusWatch(MainLoop& runLoop, EventLoop& events, HostOptions options, Log& log);
  ~BusWatch();
  BusWatch(const BusWatch&) = delete;
  BusWatch& operator=(const BusWatch&) = delete;

  /// Calls the handler for each signal that the match rule selects (dbus-daemon(1)) and the owner
  /// of the service's name sent; no name: anyone.
  void listen(std::string_view service, std::string rule, Handler handler);

  /// Calls the handler when the service comes and when it goes. What is there when the connection
  /// comes up is no news.
  void follow(const char* service, std::function<void(bool isThere)> handler);

  /// Whether the service is on the bus; false for one that is not followed.
  bool isThere(std::string_view service) const;

  /// Connects, once everything to listen to is named. The handler is called when a connection comes
  /// up: what happened before is not known, be it since the start or while the bus was away.
  void start(std::function<void(bool wasAway)> whenListening);

 private:
  struct Connection;
  struct Service;
  struct Listener;

  Service& service(std::string_view name);
  void connect();
  void connectOnce();
  void ready();
  void lose(const std::string& why);

  MainLoop& mRunLoop;
  EventLoop& mEvents;
  const HostOptions mOptions;
  Log& mLog;
  std::list<Service> mServices;
  std::list<Listener> mListeners;
  std::function<void(bool wasAway)> mWhenListening;
  std::unique_ptr<Connection> mConnection;
  std::uint64_t mAttempt = 0;  ///< what is left of another attempt is stale
  std::chrono::milliseconds mPause;
  bool mWasAway = false;
};

}  // namespace gatehall
