#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <vector>

#include "linux/loop/EventLoop.h"
#include "tests/Patience.h"

namespace gatehall {

inline void require(int result) {
  if (result < 0) throw std::runtime_error("The bus: error " + std::to_string(-result));
}

/// A connection to a bus on the loop of a test.
class Peer {
 public:
  Peer(EventLoop& loop, const std::string& address) {
    require(sd_bus_new(&mBus));
    require(sd_bus_set_address(mBus, address.c_str()));
    require(sd_bus_set_bus_client(mBus, 1));
    require(sd_bus_start(mBus));
    require(sd_bus_attach_event(mBus, loop.handle(), 0));
  }
  ~Peer() { sd_bus_flush_close_unref(mBus); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  sd_bus& bus() const { return *mBus; }
  std::string name() const {
    const char* name = nullptr;
    require(sd_bus_get_unique_name(mBus, &name));
    return name;
  }

 private:
  sd_bus* mBus = nullptr;
};

/// Somebody else than root, for as long as it lives; whoever isn't root stays who they are.
class Nobody {
 public:
  static constexpr uid_t kUserID = 65534;

  Nobody() {
    if (mIsRoot && seteuid(kUserID) != 0) throw std::runtime_error("root can't become nobody.");
  }
  ~Nobody() {
    if (mIsRoot && seteuid(0) != 0) std::terminate();
  }
  Nobody(const Nobody&) = delete;
  Nobody& operator=(const Nobody&) = delete;

 private:
  const bool mIsRoot = geteuid() == 0;
};

/// A connection of somebody who isn't root.
inline std::unique_ptr<Peer> plainPeer(EventLoop& loop, const std::string& address) {
  const Nobody nobody;
  auto peer = std::make_unique<Peer>(loop, address);
  peer->name();  // which the bus tells with its welcome
  return peer;
}

/// Somebody on the bus who answers for polkit, in the way that is chosen, and keeps what was asked.
class PolkitStandIn {
 public:
  enum class Answers { Yes, No, Challenge, Temporarily, Nonsense, Error, Never };

  PolkitStandIn(EventLoop& loop, const std::string& address) : mPeer(loop, address) {
    require(sd_bus_add_object(&mPeer.bus(), nullptr, "/org/freedesktop/PolicyKit1/Authority",
                              &onCall, this));
    require(sd_bus_request_name(&mPeer.bus(), "org.freedesktop.PolicyKit1", 0));
  }
  ~PolkitStandIn() {
    for (auto* message : mUnanswered) sd_bus_message_unref(message);
  }
  PolkitStandIn(const PolkitStandIn&) = delete;
  PolkitStandIn& operator=(const PolkitStandIn&) = delete;

  /// Says that something changed.
  void change() {
    require(sd_bus_emit_signal(&mPeer.bus(), "/org/freedesktop/PolicyKit1/Authority",
                               "org.freedesktop.PolicyKit1.Authority", "Changed", nullptr));
  }

  /// Answers what wasn't answered yet.
  void catchUp() {
    for (auto* message : mUnanswered) {
      answer(message);
      sd_bus_message_unref(message);
    }
    mUnanswered.clear();
  }

  const Peer& peer() const { return mPeer; }

  Answers answers = Answers::Yes;
  std::vector<std::string> asked;  ///< "client action flags"

 private:
  static int onCall(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    static_cast<PolkitStandIn*>(self)->take(message);
    return 1;
  }

  void take(sd_bus_message* message) {
    const char* kind = nullptr;
    const char* key = nullptr;
    const char* client = nullptr;
    const char* action = nullptr;
    std::uint32_t flags = 0;
    const char* cancellation = nullptr;
    require(sd_bus_message_read(message, "(sa{sv})s", &kind, 1, &key, "s", &client, &action));
    require(sd_bus_message_skip(message, "a{ss}"));
    require(sd_bus_message_read(message, "us", &flags, &cancellation));
    const auto subject = std::string_view(kind) == "system-bus-name" &&
                                 std::string_view(key) == "name" && *cancellation == '\0'
                             ? std::string(client)
                             : std::string("?");
    asked.push_back(subject + ' ' + action + ' ' + std::to_string(flags));
    if (answers == Answers::Never) {
      mUnanswered.push_back(sd_bus_message_ref(message));
    } else {
      answer(message);
    }
  }

  void answer(sd_bus_message* message) const {
    switch (answers) {
      case Answers::Yes:
        return require(sd_bus_reply_method_return(message, "(bba{ss})", 1, 0, 0));
      case Answers::Temporarily:
        return require(sd_bus_reply_method_return(message, "(bba{ss})", 1, 0, 1,
                                                  "polkit.temporary_authorization_id", "tmp1"));
      case Answers::No:
      case Answers::Never:
        return require(sd_bus_reply_method_return(message, "(bba{ss})", 0, 0, 0));
      case Answers::Challenge:
        return require(sd_bus_reply_method_return(message, "(bba{ss})", 0, 1, 0));
      case Answers::Nonsense:
        return require(sd_bus_reply_method_return(message, "(ssa{ss})", "true", "true", 0));
      case Answers::Error:
        return require(sd_bus_reply_method_errorf(
            message, "org.freedesktop.PolicyKit1.Error.Failed", "Not today"));
    }
  }

  Peer mPeer;
  std::vector<sd_bus_message*> mUnanswered;
};

}  // namespace gatehall
