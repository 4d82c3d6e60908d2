#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "linux/bus/SdBus.h"
#include "service/bus/Call.h"
#include "service/bus/Limits.h"
#include "service/bus/Places.h"
#include "service/bus/Turns.h"
#include "service/bus/Unread.h"
#include "service/bus/UserEntries.h"
#include "service/list/History.h"
#include "service/rights/Authority.h"

namespace gatehall::service {

/// The clients that are sent what changes about the list, each by signals of its own. After each
/// signal goes a Ping (org.freedesktop.DBus.Peer); a client is sent no more
/// until it has answered that, and then what changed meanwhile, as one. One that doesn't answer in
/// time is dropped. On the connection's thread.
class Watchers {
 public:
  Watchers(sd_bus& bus, Authority& authority, Histories& histories, Turns& turns, Unread& unread,
           const Limits& limits);

  /// Whoever calls is told what changes from its beginning on. False when there is no place.
  bool add(const Call& call);

  /// Tells it of everything behind the state with the serial: the present one, or if it has begun
  /// already the one that it was last told of.
  std::uint64_t begin(const std::string& client, Hours hours);

  void remove(const std::string& client);

  /// There is another state.
  void tell();

  bool areNone() const { return mWatchers.empty(); }

 private:
  struct Watcher {
    Watchers& all;
    std::string client;
    std::uint32_t userID;
    Places::Place place;
    /// Serial of the state that it was told of; absent: it hasn't begun.
    std::optional<std::uint64_t> known{};
    std::uint64_t looked = 0;  ///< serial with hours of the state of which it needn't be told
    bool isDue = false;        ///< it has a turn
    Places::Place mayPing{};   ///< from when it has a turn until it has answered
    std::chrono::steady_clock::time_point pinged{};
    SdBusSlot ping{};  ///< without an answer as yet
  };

  static int onPong(sd_bus_message* answer, void* self, sd_bus_error* error);
  void tell(Watcher& watcher);
  std::size_t send(const std::string& client, Hours hours);
  std::size_t sendChanges(Watcher& watcher, Hours hours);
  void sendPing(Watcher& watcher);
  bool pingAgain(Watcher& watcher);

  sd_bus& mBus;
  Authority& mAuthority;
  Histories& mHistories;
  Turns& mTurns;
  Unread& mUnread;
  const Limits mLimits;
  Places mPlaces;
  Places mPings;
  std::string mLast;  ///< who had a turn last
  std::map<std::string, Watcher> mWatchers;
};

}  // namespace gatehall::service
