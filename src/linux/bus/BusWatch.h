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
#include "linux/bus/BusMethod.h"
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

/// What became of a call.
struct BusAnswer {
  Array values{};       ///< as SystemBus::call describes them; of an error none
  std::string error{};  ///< the D-Bus error's name; "": there is none
  std::string text{};   ///< of the error
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

  /// Calls a method, and the handler with what comes of it, once: an error when nothing is answered
  /// within the limit, and when there is no connection or it goes.
  void call(const BusMethod& method, const BusArguments& arguments, std::chrono::microseconds limit,
            std::function<void(const BusAnswer&)> handler);

  /// Connects, once everything to listen to is named. The first handler is called when a connection
  /// comes up: what happened before is not known, be it since the start or while the bus was away.
  /// The second one, with the reason, when the bus goes, or isn't there at first.
  void start(std::function<void(bool wasAway)> whenListening,
             std::function<void(const std::string& why)> whenAway = {});

 private:
  struct Connection;
  struct Service;
  struct Listener;
  struct Call;

  Service& service(std::string_view name);
  void connect();
  void connectOnce();
  void ready();
  void answer(const Call& call, BusAnswer answer);
  void lose(const std::string& why);

  MainLoop& mRunLoop;
  EventLoop& mEvents;
  const HostOptions mOptions;
  Log& mLog;
  std::list<Service> mServices;
  std::list<Listener> mListeners;
  std::list<Call> mCalls;  ///< those that aren't answered
  std::function<void(bool wasAway)> mWhenListening;
  std::function<void(const std::string& why)> mWhenAway;
  std::unique_ptr<Connection> mConnection;
  std::uint64_t mAttempt = 0;  ///< what is left of another attempt is stale
  std::chrono::milliseconds mPause;
  bool mWasAway = false;
};

}  // namespace gatehall
