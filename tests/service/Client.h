#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <stdexcept>
#include <string>
#include <systemd/sd-bus.h>
#include <utility>
#include <vector>

#include "gatehall/base/Value.h"
#include "linux/bus/SdBus.h"
#include "service/bus/Names.h"
#include "tests/Patience.h"

namespace gatehall {

/// An answer that is an error.
class Refusal : public std::runtime_error {
 public:
  explicit Refusal(const sd_bus_error& error)
      : std::runtime_error(error.name + std::string(": ") + error.message), name(error.name) {}

  const std::string name;
};

/// Somebody who asks the service, and keeps the signals that it sends.
class Client {
 public:
  static constexpr std::uint64_t kLimit =
      std::chrono::duration_cast<std::chrono::microseconds>(kPatience).count();

  explicit Client(const std::string& address) {
    require(sd_bus_new(&mBus));
    require(sd_bus_set_address(mBus, address.c_str()));
    require(sd_bus_set_bus_client(mBus, 1));
    require(sd_bus_start(mBus));
    require(sd_bus_match_signal(mBus, nullptr, nullptr, service::kObjectPath, service::kInterface,
                                "UsersChanged", &onSignal, this));
  }
  ~Client() { sd_bus_flush_close_unref(mBus); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  /// Waits until the service is on the bus.
  void findService() {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (!isOwned()) {
      if (std::chrono::steady_clock::now() > limit) throw std::runtime_error("No service came.");
      usleep(1000);
    }
  }

  bool isOwned() {
    sd_bus_message* reply = nullptr;
    require(sd_bus_call_method(mBus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s",
                               service::kServiceName));
    const SdBusMessage held(reply);
    int isOwned = 0;
    require(sd_bus_message_read(reply, "b", &isOwned));
    return isOwned != 0;
  }

  /// Calls a method, whose arguments are of those types. Raises Refusal.
  template <class... Arguments>
  Array call(const char* member, const char* types, Arguments... arguments) {
    sd_bus_message* raw = nullptr;
    require(sd_bus_message_new_method_call(mBus, &raw, service::kServiceName, service::kObjectPath,
                                           service::kInterface, member));
    const SdBusMessage request(raw);
    require(sd_bus_message_append(raw, types, arguments...));
    return answer(raw);
  }

  Value property(const char* name) {
    sd_bus_message* raw = nullptr;
    require(sd_bus_message_new_method_call(mBus, &raw, service::kServiceName, service::kObjectPath,
                                           "org.freedesktop.DBus.Properties", "Get"));
    const SdBusMessage request(raw);
    require(sd_bus_message_append(raw, "ss", service::kInterface, name));
    return answer(raw).front();
  }

  using Told = std::function<void(std::string)>;

  /// Sends a call without waiting; the function is called with the error's name, "" for none.
  template <class... Arguments>
  void send(const char* member, Told told, const char* types, Arguments... arguments) {
    sd_bus_message* raw = nullptr;
    require(sd_bus_message_new_method_call(mBus, &raw, service::kServiceName, service::kObjectPath,
                                           service::kInterface, member));
    const SdBusMessage request(raw);
    require(sd_bus_message_append(raw, types, arguments...));
    sd_bus_slot* slot = nullptr;
    require(sd_bus_call_async(mBus, &slot, raw, &onAnswer, &mTold.emplace_back(std::move(told)),
                              kLimit));
    sd_bus_slot_set_floating(slot, 1);
    sd_bus_slot_unref(slot);
    sd_bus_flush(mBus);
  }

  /// Reads what comes until the condition holds; false when it doesn't in time.
  bool readUntil(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      const int result = sd_bus_process(mBus, nullptr);
      require(result);
      if (result == 0) require(sd_bus_wait(mBus, 5000));
    }
    return true;
  }

  /// Reads what has come by now.
  void read() {
    while (true) {
      const int result = sd_bus_process(mBus, nullptr);
      require(result);
      if (result == 0) return;
    }
  }

  std::string name() const {
    const char* name = nullptr;
    require(sd_bus_get_unique_name(mBus, &name));
    return name;
  }

  sd_bus* bus() const { return mBus; }

  /// since, serial, complete, changes
  std::vector<Array> signals;

 private:
  static void require(int result) {
    if (result < 0) throw std::runtime_error("The bus: error " + std::to_string(-result));
  }

  Array answer(sd_bus_message* request) {
    sd_bus_message* raw = nullptr;
    sd_bus_error error{};
    if (sd_bus_call(mBus, request, kLimit, &error, &raw) < 0) {
      const Refusal refusal(error);
      sd_bus_error_free(&error);
      throw refusal;
    }
    const SdBusMessage reply(raw);
    return messageValues(raw);
  }

  static int onSignal(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    static_cast<Client*>(self)->signals.push_back(messageValues(message));
    return 0;
  }

  static int onAnswer(sd_bus_message* message, void* told, sd_bus_error* /*error*/) {
    const auto* error = sd_bus_message_get_error(message);
    (*static_cast<Told*>(told))(error == nullptr ? "" : error->name);
    return 0;
  }

  sd_bus* mBus = nullptr;
  std::list<Told> mTold;  ///< of all calls that were sent
};

}  // namespace gatehall
