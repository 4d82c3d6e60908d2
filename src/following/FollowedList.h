#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "following/ListCopy.h"
#include "gatehall/platform/Log.h"
#include "linux/bus/BusWatch.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"

namespace gatehall {

/// How the network directories answer, as the service tells it.
struct ServiceNetwork {
  bool hasParentNetwork = false;
  bool parentNetworkExists = false;
  std::int32_t status = 0;

  friend bool operator==(const ServiceNetwork&, const ServiceNetwork&) = default;
};

/// Why there is no list, or none that is up to date.
enum class ListFault {
  BusAway,
  ServiceAway,
  NoAnswer,
  NotUnderstood,
};

/// Who is told what becomes of the list. On the main thread.
struct ListFollower {
  /// The network, before the list at first, and whenever it changes.
  std::function<void(const ServiceNetwork&)> network;
  std::function<void(const ListedUsers&)> list;  ///< once, before anything else of the list
  /// The list after the changes, too.
  std::function<void(const std::vector<ListChange>&, const ListedUsers&)> changed;
  /// The service doesn't answer, and is asked again: "list" may not have been told yet. "why" is
  /// for a log.
  std::function<void(ListFault fault, const std::string& why)> gone;
  /// It answers again: with the changes since, or with the list as a whole. They are told next.
  std::function<void(bool hasCaughtUp)> back;
};

/// Follows the list of gatehalld(8) as docs/bus.md tells it, over restarts of the service and of
/// the bus. Never waits. On the main thread, while its loop runs.
class FollowedList {
 public:
  /// Begins.
  FollowedList(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
               ListFollower follower);
  FollowedList(const FollowedList&) = delete;
  FollowedList& operator=(const FollowedList&) = delete;

 private:
  using Then = void (FollowedList::*)(const Array& answer);

  void begin();
  void ask(const char* interface, const char* member, const BusArguments& arguments, Then then);
  void watching(const Array& answer);
  void propertiesRead(const Array& answer);
  void readPages();
  void pageRead(const Array& page);
  void catchUp();
  void changesRead(const Array& answer);
  void heard(const Array& signal);
  void propertiesChanged(const Array& signal);
  void take(const Value& properties);
  void tell(const std::vector<ListChange>& changes);
  void goOn();
  void came(bool isThere);
  void busWent(const std::string& why);
  void miss(ListFault fault, const std::string& why);
  void lose(ListFault fault, const std::string& why);

  MainLoop& mRunLoop;
  BusWatch mBus;
  const ListFollower mFollower;
  std::uint64_t mTurn = 0;  ///< what was asked for in an earlier one is stale
  bool mIsAsking = false;   ///< an answer is waited for
  bool mIsGone = false;
  bool mReadsAnew = false;  ///< whatever changes the service knows of
  std::chrono::milliseconds mPause;
  std::optional<ListCopy> mList;
  ListCopy mPages;              ///< those read so far
  int mOtherStates = 0;         ///< that the list was in while it was read
  std::vector<Array> mUnheard;  ///< signals that came meanwhile
  std::optional<ServiceNetwork> mNetwork;
};

}  // namespace gatehall
