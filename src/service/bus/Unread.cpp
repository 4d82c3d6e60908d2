#include "service/bus/Unread.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace gatehall::service {

namespace {

constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kStatistics = "org.freedesktop.DBus.Debug.Stats";

constexpr std::chrono::microseconds kLongestAnswer{5'000'000};

/// Between two questions about somebody who has to read first, in seconds.
constexpr double kUntilTheNextLook = 0.1;

/// Of what others leave, a user id may have this part unread: some is left to everybody else.
constexpr std::size_t kPart = 4;

/// What the bus keeps for a client that hasn't taken it, in bytes.
std::optional<std::size_t> unreadIn(sd_bus_message* answer) try {
  const auto* sender = sdBus().message_get_sender(answer);
  if (sender == nullptr || std::string_view(sender) != kBus) return std::nullopt;
  const auto values = messageValues(answer);
  const auto* entries = values.size() == 1 ? values[0].dictionary() : nullptr;
  if (entries == nullptr) return std::nullopt;
  const auto found = entries->find("OutgoingBytes");
  if (found == entries->end() || !found->second.integerValue()) return std::nullopt;
  return static_cast<std::size_t>(*found->second.integerValue());
} catch (const UnreadableMessage&) {
  return std::nullopt;
}

bool isError(sd_bus_message* answer, const char* name) {
  return sdBus().message_is_method_error(answer, name) > 0;
}

}  // namespace

Unread::Unread(sd_bus& bus, MainLoop& loop, const Limits& limits,
               std::function<void(const std::string& client)> isMute)
    : mBus(bus), mLoop(loop), mLimits(limits), mIsMute(std::move(isMute)) {}

void Unread::send(const std::string& name, std::uint32_t userID, Sending sending) {
  setUserID(name, userID);
  auto& client = this->client(name);
  if (client.waiting.empty() && hasRoom(client)) return sent(client, sending());
  if (client.waiting.empty()) client.waitsSince = std::chrono::steady_clock::now();
  client.waiting.push_back(std::move(sending));
  if (!mLooks) look();
}

void Unread::add(const std::string& name, std::size_t bytes) { sent(client(name), bytes); }

bool Unread::hasRoom(const std::string& name) const {
  const auto found = mClients.find(name);
  return found == mClients.end() || hasRoom(found->second);
}

bool Unread::isFull(const std::string& name) const {
  const auto found = mClients.find(name);
  return mBusTells && found != mClients.end() && found->second.bytes >= 2 * mLimits.unread;
}

bool Unread::hasRoom(const Client& client) const {
  if (!mBusTells) return true;
  if (client.bytes >= mLimits.unread) return false;
  const auto found = client.userID ? mOfUser.find(*client.userID) : mOfUser.end();
  const auto ofUser = found == mOfUser.end() ? client.bytes : found->second;
  const auto ofOthers = mInAll - ofUser;
  return ofOthers < mLimits.unreadInAll && ofUser < (mLimits.unreadInAll - ofOthers) / kPart;
}

void Unread::setUserID(const std::string& name, std::uint32_t userID) {
  auto& client = this->client(name);
  if (client.userID) return;
  client.userID = userID;
  mOfUser[userID] += client.bytes;
}

void Unread::forget(const std::string& name) {
  const auto found = mClients.find(name);
  if (found == mClients.end()) return;
  set(found->second, 0);
  const auto gone = mClients.extract(found);  // ends what waits when it is in no list any more
}

Unread::Client& Unread::client(const std::string& name) {
  return mClients.try_emplace(name, Client{.all = *this, .name = name}).first->second;
}

void Unread::set(Client& client, std::size_t bytes) {
  mInAll = mInAll - client.bytes + bytes;
  if (client.userID) {
    const auto ofUser = mOfUser.try_emplace(*client.userID).first;
    ofUser->second = ofUser->second - client.bytes + bytes;
    if (ofUser->second == 0) mOfUser.erase(ofUser);
  }
  client.bytes = bytes;
}

void Unread::sent(Client& client, std::size_t bytes) {
  if (!mBusTells) return;
  set(client, client.bytes + bytes);
  client.sinceAsked += bytes;
  // Who reads is found to have read before it has to wait.
  if (client.sinceAsked >= mLimits.unread / 8) ask(client);
}

void Unread::ask(Client& client) {
  if (client.question) return;
  const auto& sd = sdBus();
  sd_bus_message* raw = nullptr;
  if (sd.message_new_method_call(&mBus, &raw, kBus, kBusPath, kStatistics, "GetConnectionStats") <
      0) {
    return;
  }
  const SdBusMessage message(raw);
  sd_bus_slot* slot = nullptr;
  if (sd.message_append_basic(raw, SD_BUS_TYPE_STRING, client.name.c_str()) < 0 ||
      sd.call_async(&mBus, &slot, raw, &onAnswer, &client,
                    static_cast<std::uint64_t>(kLongestAnswer.count())) < 0) {
    return;
  }
  client.question.reset(slot);
  client.sinceAsked = 0;
}

/// All that was sent before the question has come to the bus before it.
int Unread::onAnswer(sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
  auto& client = *static_cast<Client*>(self);
  auto& all = client.all;
  const auto name = client.name;
  client.question.reset();
  if (const auto unread = unreadIn(answer)) {
    all.set(client, std::min(client.bytes, *unread + client.sinceAsked));
  } else if (isError(answer, SD_BUS_ERROR_ACCESS_DENIED) ||
             isError(answer, SD_BUS_ERROR_UNKNOWN_METHOD) ||
             isError(answer, SD_BUS_ERROR_UNKNOWN_INTERFACE)) {
    all.mBusTells = false;
  }
  all.go(name);
  return 0;
}

/// Who waits for a user id's share waits for what its other clients, and others, read.
void Unread::look() {
  mLooks = false;
  std::vector<std::string> mute;
  const auto now = std::chrono::steady_clock::now();
  for (auto& [name, client] : mClients) {
    if (client.bytes > 0 || !client.waiting.empty()) ask(client);
    if (client.waiting.empty()) continue;
    mLooks = true;
    if (now - client.waitsSince >= mLimits.reading) mute.push_back(name);
  }
  if (mLooks) mLoop.performAfterDelay(kUntilTheNextLook, [this] { look(); });
  for (const auto& name : mute) {
    const auto waiting = std::exchange(client(name).waiting, {});
    mIsMute(name);
  }
}

/// Sends what there is room for. What is sent may end the client's stay.
void Unread::go(const std::string& name) {
  while (true) {
    const auto found = mClients.find(name);
    if (found == mClients.end() || found->second.waiting.empty()) return;
    auto& client = found->second;
    if (!hasRoom(client)) return;
    const auto sending = std::move(client.waiting.front());
    client.waiting.pop_front();
    client.waitsSince = std::chrono::steady_clock::now();
    const auto bytes = sending();
    add(name, bytes);
  }
}

}  // namespace gatehall::service
