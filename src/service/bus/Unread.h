#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "linux/bus/SdBus.h"
#include "linux/loop/MainLoop.h"
#include "service/bus/Limits.h"

namespace gatehall::service {

/// How much clients were sent that they haven't read. The bus keeps that for them, and takes
/// nothing more of a connection of which it keeps too much (dbus-daemon(1), max_incoming_bytes):
/// who doesn't read would stop the answers to all others. So a client, and a user id, is sent no
/// more until the bus says that enough was taken (GetConnectionStats of
/// org.freedesktop.DBus.Debug.Stats, OutgoingBytes); an answer of the client itself would be no
/// sign, since one that waits for its own call gives none, and one that doesn't read can. A bus
/// that doesn't tell holds nobody up. On the connection's thread; goes after the loop has run.
class Unread {
 public:
  /// Sends something, and answers how many bytes that were, 0 when it couldn't. Raises nothing.
  using Sending = std::function<std::size_t()>;

  /// Tells who didn't read in time: what was to be sent to them is dropped by then.
  Unread(sd_bus& bus, MainLoop& loop, const Limits& limits,
         std::function<void(const std::string& client)> isMute);
  Unread(const Unread&) = delete;
  Unread& operator=(const Unread&) = delete;

  /// Has it sent when the client has room for more, which may be at once, in order.
  void send(const std::string& name, std::uint32_t userID, Sending sending);

  /// Counts what is sent without asking for room.
  void add(const std::string& name, std::size_t bytes);

  bool hasRoom(const std::string& name) const;

  /// Whether it left unread twice what it may: it is to be sent nothing at all.
  bool isFull(const std::string& name) const;

  /// Whether anything was counted of it.
  bool knows(const std::string& name) const { return mClients.contains(name); }

  /// Whose client it is; before that it is nobody's.
  void setUserID(const std::string& name, std::uint32_t userID);

  /// The client is gone, and what it hasn't read with it.
  void forget(const std::string& name);

 private:
  struct Client {
    Unread& all;
    std::string name;
    std::optional<std::uint32_t> userID{};
    std::size_t bytes = 0;       ///< that it hasn't read, or of which that isn't known yet
    std::size_t sinceAsked = 0;  ///< of them, those sent since the bus was asked
    std::deque<Sending> waiting{};
    std::chrono::steady_clock::time_point waitsSince{};
    SdBusSlot question{};
  };

  static int onAnswer(sd_bus_message* answer, void* self, sd_bus_error* error);
  Client& client(const std::string& name);
  bool hasRoom(const Client& client) const;
  void set(Client& client, std::size_t bytes);
  void sent(Client& client, std::size_t bytes);
  void ask(Client& client);
  void look();
  void go(const std::string& name);

  sd_bus& mBus;
  MainLoop& mLoop;
  const Limits mLimits;
  const std::function<void(const std::string& client)> mIsMute;
  bool mBusTells = true;
  bool mLooks = false;
  std::map<std::string, Client> mClients;
  std::map<std::uint32_t, std::size_t> mOfUser;
  std::size_t mInAll = 0;
};

}  // namespace gatehall::service
