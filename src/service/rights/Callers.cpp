#include "service/rights/Callers.h"

#include <string_view>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

namespace {

constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";

/// Calls of one client that may wait for its user id.
constexpr std::size_t kMostWaiting = 128;

void check(int result) {
  if (result >= 0) return;
  throw PlatformException("Unable to ask the system bus who its clients are: " +
                          std::generic_category().message(-result));
}

bool isFromBus(sd_bus_message* message) {
  const auto* sender = sdBus().message_get_sender(message);
  return sender != nullptr && std::string_view(sender) == kBus;
}

}  // namespace

/// One rule for all clients: the bus keeps but a limited number of rules for a connection.
Callers::Callers(sd_bus& bus, std::chrono::microseconds limit) : mBus(bus), mLimit(limit) {
  sd_bus_slot* slot = nullptr;
  check(sdBus().add_match_async(&bus, &slot,
                                "type='signal',sender='org.freedesktop.DBus',"
                                "path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
                                "member='NameOwnerChanged',arg2=''",
                                &onOwnerChanged, nullptr, this));
  mOwners.reset(slot);
}

Callers::~Callers() = default;

bool Callers::identify(const std::string& client, Told told) {
  auto found = mCallers.find(client);
  if (found == mCallers.end()) {
    found = mCallers.emplace(client, Caller{*this, client, {}, {}, {}}).first;
  }
  auto& caller = found->second;
  if (caller.userID) {
    told(caller.userID);
    return true;
  }
  if (caller.waiting.size() >= kMostWaiting) return false;
  caller.waiting.push_back(std::move(told));
  if (caller.question) return true;
  try {
    ask(caller);
  } catch (const PlatformException&) {
    tell(caller, std::nullopt);
  }
  return true;
}

bool Callers::know(const std::string& client) const {
  const auto found = mCallers.find(client);
  return found != mCallers.end() && found->second.userID;
}

void Callers::whenGone(std::function<void(const std::string& client)> handler) {
  mWhenGone.push_back(std::move(handler));
}

void Callers::ask(Caller& caller) {
  const auto& sd = sdBus();
  sd_bus_message* raw = nullptr;
  check(sd.message_new_method_call(&mBus, &raw, kBus, kBusPath, kBus, "GetConnectionUnixUser"));
  const SdBusMessage question(raw);
  check(sd.message_append_basic(raw, SD_BUS_TYPE_STRING, caller.name.c_str()));
  sd_bus_slot* slot = nullptr;
  check(sd.call_async(&mBus, &slot, raw, &onUser, &caller,
                      static_cast<std::uint64_t>(mLimit.count())));
  caller.question.reset(slot);
}

/// Also called when no answer came in time, and for a connection that ends.
int Callers::onUser(sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
  auto& caller = *static_cast<Caller*>(self);
  std::optional<std::uint32_t> userID;
  std::uint32_t number = 0;
  if (sdBus().message_is_method_error(answer, nullptr) == 0 && isFromBus(answer) &&
      sdBus().message_read_basic(answer, SD_BUS_TYPE_UINT32, &number) > 0) {
    userID = number;
  }
  caller.callers.tell(caller, userID);
  return 0;
}

/// Whoever is told may ask about the client again.
void Callers::tell(Caller& caller, std::optional<std::uint32_t> userID) {
  const auto waiting = std::exchange(caller.waiting, {});
  caller.question.reset();
  caller.userID = userID;
  if (!userID) mCallers.erase(mCallers.find(caller.name));
  for (const auto& told : waiting) told(userID);
}

int Callers::onOwnerChanged(sd_bus_message* signal, void* self, sd_bus_error* /*error*/) {
  auto& callers = *static_cast<Callers*>(self);
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  const auto read = [&](const char*& text) {
    return sdBus().message_read_basic(signal, SD_BUS_TYPE_STRING, &text) > 0;
  };
  if (!isFromBus(signal) || !read(name) || !read(before) || !read(after)) return 0;
  if (*name != ':' || *after != '\0') return 0;
  const std::string client(name);
  const auto found = callers.mCallers.find(client);
  if (found != callers.mCallers.end()) callers.tell(found->second, std::nullopt);
  for (const auto& handler : callers.mWhenGone) handler(client);
  return 0;
}

}  // namespace gatehall
