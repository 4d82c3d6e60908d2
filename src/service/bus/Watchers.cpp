#include "service/bus/Watchers.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "service/bus/Names.h"

namespace gatehall::service {

namespace {

void check(int result) {
  if (result >= 0) return;
  throw PlatformException("Unable to send a signal: " + std::generic_category().message(-result));
}

}  // namespace

Watchers::Watchers(sd_bus& bus, Authority& authority, Histories& histories, Turns& turns,
                   Unread& unread, const Limits& limits)
    : mBus(bus),
      mAuthority(authority),
      mHistories(histories),
      mTurns(turns),
      mUnread(unread),
      mLimits(limits),
      mPlaces(limits.watchers, limits.watchersInAll),
      mPings(limits.pings, limits.pingsInAll) {}

bool Watchers::add(const Call& call) {
  if (mWatchers.contains(call.client())) return true;
  auto place = mPlaces.take(call.userID());
  if (!place) return false;
  mWatchers.emplace(call.client(), Watcher{*this, call.client(), call.userID(), std::move(place)});
  return true;
}

std::uint64_t Watchers::begin(const std::string& client, Hours hours) {
  const auto serial = mHistories.of(hours).serial();
  const auto found = mWatchers.find(client);
  if (found == mWatchers.end()) return serial;
  auto& watcher = found->second;
  if (!watcher.known) {
    watcher.known = serial;
    watcher.looked = mHistories.withHours.serial();
  }
  return *watcher.known;
}

void Watchers::remove(const std::string& client) {
  if (mWatchers.erase(client) > 0) tell();
}

/// Begins with who is next, so that everybody has a turn while there are more than there is room
/// for Pings.
void Watchers::tell() {
  const auto next = mWatchers.upper_bound(mLast);
  for (auto each = next; each != mWatchers.end(); ++each) tell(each->second);
  for (auto each = mWatchers.begin(); each != next; ++each) tell(each->second);
}

void Watchers::tell(Watcher& watcher) {
  if (watcher.isDue || watcher.ping || !watcher.known) return;
  if (watcher.looked == mHistories.withHours.serial()) return;
  watcher.mayPing = mPings.take(watcher.userID);
  if (!watcher.mayPing) return;
  mLast = watcher.client;
  watcher.isDue = true;
  const auto userID = watcher.userID;
  mTurns.add(userID, [this, client = watcher.client, userID] {
    if (!mWatchers.contains(client)) return;
    mAuthority.check(client, kReadLoginHours, [this, client, userID](Permission permission) {
      const auto hours = permission == Permission::Allowed ? Hours::Told : Hours::LeftOut;
      mUnread.send(client, userID, [this, client, hours] { return send(client, hours); });
    });
  });
}

/// Answers how many bytes that were.
std::size_t Watchers::send(const std::string& client, Hours hours) {
  const auto found = mWatchers.find(client);
  if (found == mWatchers.end()) return 0;
  auto& watcher = found->second;
  watcher.isDue = false;
  if (watcher.ping) return 0;
  watcher.looked = mHistories.withHours.serial();
  if (watcher.known == mHistories.of(hours).serial()) {
    watcher.mayPing.reset();
    tell();
    return 0;
  }
  try {
    const auto bytes = sendChanges(watcher, hours);
    watcher.pinged = std::chrono::steady_clock::now();
    sendPing(watcher);
    return bytes;
  } catch (const PlatformException&) {
    // The connection is lost, or the client was sent what can't be written.
    mWatchers.erase(found);
    return 0;
  }
}

std::size_t Watchers::sendChanges(Watcher& watcher, Hours hours) {
  sd_bus_message* raw = nullptr;
  check(sdBus().message_new_signal(&mBus, &raw, kObjectPath, kInterface, "UsersChanged"));
  const SdBusMessage signal(raw);
  check(sdBus().message_set_destination(raw, watcher.client.c_str()));
  auto& history = mHistories.of(hours);
  const auto since = watcher.known.value_or(0);
  const auto changes = history.since(since);
  MessageWriter writer(raw);
  writer.number(since);
  writer.number(history.serial());
  writer.boolean(changes != nullptr);
  append(writer, changes ? *changes : std::vector<ListChange>(), hours);
  Call::send(mBus, raw);
  watcher.known = history.serial();
  return writer.size();
}

void Watchers::sendPing(Watcher& watcher) {
  sd_bus_message* raw = nullptr;
  check(sdBus().message_new_method_call(&mBus, &raw, watcher.client.c_str(), "/",
                                        "org.freedesktop.DBus.Peer", "Ping"));
  const SdBusMessage ping(raw);
  sd_bus_slot* slot = nullptr;
  const auto limit = std::chrono::duration_cast<std::chrono::microseconds>(mLimits.reading);
  check(sdBus().call_async(&mBus, &slot, raw, &onPong, &watcher,
                           static_cast<std::uint64_t>(limit.count())));
  watcher.ping.reset(slot);
}

/// An error is an answer as well, but for those of the bus: that there is none, or that it has
/// taken too much for the service (dbus-daemon(1), max_replies_per_connection).
int Watchers::onPong(sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
  auto& watcher = *static_cast<Watcher*>(self);
  auto& all = watcher.all;
  const auto& sd = sdBus();
  const auto* sender = sd.message_get_sender(answer);
  const bool isOver = std::chrono::steady_clock::now() - watcher.pinged >= all.mLimits.reading;
  if (sd.message_is_method_error(answer, SD_BUS_ERROR_NO_REPLY) > 0) {
    all.remove(std::string(watcher.client));
    return 0;
  }
  watcher.ping.reset();
  if (sd.message_is_method_error(answer, SD_BUS_ERROR_LIMITS_EXCEEDED) > 0 && sender != nullptr &&
      watcher.client != sender) {
    if (isOver || !all.pingAgain(watcher)) all.remove(std::string(watcher.client));
    return 0;
  }
  watcher.mayPing.reset();
  all.tell();
  return 0;
}

bool Watchers::pingAgain(Watcher& watcher) try {
  sendPing(watcher);
  return true;
} catch (const PlatformException&) {
  return false;
}

}  // namespace gatehall::service
