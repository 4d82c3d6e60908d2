#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "linux/bus/SdBus.h"

namespace gatehall {

/// Who they are that call over a connection to a bus: the user ids of its clients, by their unique
/// names, as the bus itself tells them (GetConnectionUnixUser). On the
/// connection's thread, and never waits.
class Callers {
 public:
  using Told = std::function<void(std::optional<std::uint32_t> userID)>;

  /// The bus answers within that time or counts as mute. Raises PlatformException.
  Callers(sd_bus& bus, std::chrono::microseconds limit);
  ~Callers();
  Callers(const Callers&) = delete;
  Callers& operator=(const Callers&) = delete;

  /// Tells the client's user id, once: at once when it is known, which it is until the client goes.
  /// Absent: the bus doesn't know the client or doesn't say in time. False, and nothing is told:
  /// too much waits for it.
  bool identify(const std::string& client, Told told);

  /// Whether the client's user id is known, and it hasn't gone since.
  bool know(const std::string& client) const;

  /// Calls the handler with the unique name of each client that goes, whether it ever called or
  /// not.
  void whenGone(std::function<void(const std::string& client)> handler);

 private:
  struct Caller {
    Callers& callers;
    std::string name;
    std::optional<std::uint32_t> userID;
    std::vector<Told> waiting;
    SdBusSlot question;
  };

  static int onUser(sd_bus_message* answer, void* self, sd_bus_error* error);
  static int onOwnerChanged(sd_bus_message* signal, void* self, sd_bus_error* error);
  void ask(Caller& caller);
  void tell(Caller& caller, std::optional<std::uint32_t> userID);

  sd_bus& mBus;
  const std::chrono::microseconds mLimit;
  std::map<std::string, Caller, std::less<>> mCallers;
  std::vector<std::function<void(const std::string& client)>> mWhenGone;
  SdBusSlot mOwners;
};

}  // namespace gatehall
