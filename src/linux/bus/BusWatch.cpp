#include "linux/bus/BusWatch.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/bus/SdBus.h"
#include "linux/files/FaultLog.h"

namespace gatehall {

namespace {

constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{30000};

constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";

std::string_view textOrEmpty(const char* text) { return text == nullptr ? "" : text; }

int check(int result) {
  if (result < 0) throw PlatformException(std::generic_category().message(-result));
  return result;
}

double seconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}

/// A signal; absent when it can't be read.
std::optional<BusSignal> signalOf(sd_bus_message* message) {
  const auto& sd = sdBus();
  try {
    return BusSignal{std::string(textOrEmpty(sd.message_get_path(message))),
                     std::string(textOrEmpty(sd.message_get_interface(message))),
                     std::string(textOrEmpty(sd.message_get_member(message))),
                     messageValues(message)};
  } catch (const UnreadableMessage&) {
    return std::nullopt;
  }
}

BusAnswer failure(int number) {
  return {.error = "errno " + std::to_string(number),
          .text = std::generic_category().message(number)};
}

BusAnswer answerOf(sd_bus_message* message) {
  const auto& sd = sdBus();
  if (sd.message_is_method_error(message, nullptr) > 0) {
    const auto& error = *sd.message_get_error(message);
    constexpr std::size_t kLongestText = 300;
    return {.error = std::string(textOrEmpty(error.name)),
            .text = printable(textOrEmpty(error.message), kLongestText)};
  }
  try {
    return {.values = messageValues(message)};
  } catch (const UnreadableMessage& unreadable) {
    return failure(unreadable.error);
  }
}

std::string_view senderOf(sd_bus_message* message) {
  return textOrEmpty(sdBus().message_get_sender(message));
}

}  // namespace

struct BusWatch::Connection {
  SdBusConnection bus;
  std::size_t unknownOwners = 0;  ///< services whose owner was asked for
};

/// A name on the bus, and who has it.
struct BusWatch::Service {
  BusWatch& watch;
  const std::string name;
  std::string owner;
  std::function<void(bool)> handler;

  bool isFrom(sd_bus_message* message) const {
    return name.empty() || (!owner.empty() && senderOf(message) == owner);
  }

  static int onOwner(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    auto& service = *static_cast<Service*>(self);
    const auto isError = [&](const char* name) {
      return sdBus().message_is_method_error(message, name) > 0;
    };
    // Also called for a connection that ends.
    if (isError(nullptr) && !isError(SD_BUS_ERROR_NAME_HAS_NO_OWNER)) return 0;
    const auto answer = signalOf(message);
    if (!answer || answer->values.size() != 1 || answer->values[0].string() == nullptr) return 0;
    service.owner = isError(nullptr) ? "" : *answer->values[0].string();
    if (--service.watch.mConnection->unknownOwners == 0) service.watch.ready();
    return 0;
  }

  static int onOwnerChanged(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    auto& service = *static_cast<Service*>(self);
    const auto signal = signalOf(message);
    if (senderOf(message) != kBus || !signal || signal->values.size() != 3) return 0;
    const auto* name = signal->values[0].string();
    const auto* owner = signal->values[2].string();
    if (name == nullptr || *name != service.name || owner == nullptr) return 0;
    service.owner = *owner;
    if (service.handler) {
      service.watch.mRunLoop.post(
          [handler = service.handler, isThere = !owner->empty()] { handler(isThere); });
    }
    return 0;
  }
};

struct BusWatch::Listener {
  BusWatch& watch;
  const Service& service;
  const std::string rule;
  const Handler handler;

  static int onSignal(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    const auto& listener = *static_cast<const Listener*>(self);
    if (!listener.service.isFrom(message)) return 0;
    if (auto signal = signalOf(message)) {
      listener.watch.mRunLoop.post(
          [handler = listener.handler, signal = std::move(*signal)] { handler(signal); });
    }
    return 0;
  }
};

struct BusWatch::Call {
  BusWatch& watch;
  const std::function<void(const BusAnswer&)> handler;

  static int onAnswer(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    const auto& call = *static_cast<const Call*>(self);
    call.watch.answer(call, answerOf(message));
    return 0;
  }
};

BusWatch::BusWatch(MainLoop& runLoop, EventLoop& events, HostOptions options, Log& log)
    : mRunLoop(runLoop),
      mEvents(events),
      mOptions(std::move(options)),
      mLog(log),
      mPause(kFirstPause) {}

BusWatch::~BusWatch() = default;

BusWatch::Service& BusWatch::service(std::string_view name) {
  const auto found = std::find_if(mServices.begin(), mServices.end(),
                                  [&](const Service& each) { return each.name == name; });
  if (found != mServices.end()) return *found;
  return mServices.emplace_back(Service{*this, std::string(name), {}, {}});
}

void BusWatch::listen(std::string_view service, std::string rule, Handler handler) {
  mListeners.emplace_back(
      Listener{*this, this->service(service), std::move(rule), std::move(handler)});
}

void BusWatch::follow(const char* service, std::function<void(bool isThere)> handler) {
  this->service(service).handler = std::move(handler);
}

bool BusWatch::isThere(std::string_view service) const {
  return std::any_of(mServices.begin(), mServices.end(), [&](const Service& each) {
    return each.name == service && !each.owner.empty();
  });
}

void BusWatch::call(const BusMethod& method, const BusArguments& arguments,
                    std::chrono::microseconds limit,
                    std::function<void(const BusAnswer&)> handler) {
  auto& call = mCalls.emplace_back(Call{*this, std::move(handler)});
  if (!mConnection) {
    answer(call, failure(ENOTCONN));
    return;
  }
  const auto& sd = sdBus();
  auto* bus = mConnection->bus.get();
  SdBusMessage question;
  int result = makeCall(*bus, method, arguments, question);
  if (result >= 0) {
    result = sd.call_async(bus, nullptr, question.get(), &Call::onAnswer, &call,
                           static_cast<std::uint64_t>(limit.count()));
  }
  if (result < 0) answer(call, failure(-result));
  // From outside of the loop: it waits for what it knew of before, and for no time limit since.
  mRunLoop.wake();
}

void BusWatch::answer(const Call& call, BusAnswer answer) {
  mRunLoop.post([handler = call.handler, answer = std::move(answer)] { handler(answer); });
  mCalls.remove_if([&call](const Call& each) { return &each == &call; });
}

void BusWatch::start(std::function<void(bool wasAway)> whenListening,
                     std::function<void(const std::string& why)> whenAway) {
  mWhenListening = std::move(whenListening);
  mWhenAway = std::move(whenAway);
  connect();
}

void BusWatch::connect() {
  ++mAttempt;
  try {
    connectOnce();
  } catch (const PlatformException& failure) {
    lose(failure.what());
    return;
  }
  mRunLoop.performAfterDelay(seconds(mOptions.callTimeout), [this, attempt = mAttempt] {
    if (attempt == mAttempt && mConnection->unknownOwners > 0) lose("no answer");
  });
}

/// Nothing in here waits: what is asked of the bus is sent once there is a connection, in its
/// order, so that the last answer means that everything is in place.
void BusWatch::connectOnce() {
  const auto& sd = sdBus();
  mConnection = std::make_unique<Connection>();
  sd_bus* bus = nullptr;
  check(sd.make(&bus));
  mConnection->bus.reset(bus);
  check(sd.set_address(bus, systemBusAddress(mOptions).c_str()));
  check(sd.set_bus_client(bus, 1));
  check(sd.start(bus));

  const auto onEnd = [](sd_bus_message*, void* self, sd_bus_error*) {
    auto& watch = *static_cast<BusWatch*>(self);
    watch.mRunLoop.post([&watch, attempt = watch.mAttempt] {
      if (attempt == watch.mAttempt) watch.lose("it ended the connection");
    });
    return 0;
  };
  check(sd.add_match_async(bus, nullptr,
                           "type='signal',sender='org.freedesktop.DBus.Local',"
                           "path='/org/freedesktop/DBus/Local',"
                           "interface='org.freedesktop.DBus.Local',member='Disconnected'",
                           onEnd, nullptr, this));
  for (auto& each : mListeners) {
    const auto rule =
        each.service.name.empty() ? each.rule : each.rule + ",sender='" + each.service.name + "'";
    check(sd.add_match_async(bus, nullptr, rule.c_str(), &Listener::onSignal, nullptr, &each));
  }
  for (auto& each : mServices) {
    if (each.name.empty()) continue;
    std::string rule(
        "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
        "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='");
    rule.append(each.name).append("'");
    check(sd.add_match_async(bus, nullptr, rule.c_str(), &Service::onOwnerChanged, nullptr, &each));
    sd_bus_message* raw = nullptr;
    check(sd.message_new_method_call(bus, &raw, kBus, kBusPath, kBus, "GetNameOwner"));
    const SdBusMessage question(raw);
    check(sd.message_append_basic(raw, SD_BUS_TYPE_STRING, each.name.c_str()));
    check(sd.call_async(bus, nullptr, raw, &Service::onOwner, &each, 0));
    ++mConnection->unknownOwners;
  }
  check(sd.attach_event(bus, mEvents.handle(), 0));
}

void BusWatch::ready() {
  mPause = kFirstPause;
  const bool wasAway = std::exchange(mWasAway, false);
  if (wasAway) mLog.diagnostic("The system bus is back.");
  mRunLoop.post([this, wasAway] { mWhenListening(wasAway); });
}

void BusWatch::lose(const std::string& why) {
  ++mAttempt;
  mConnection.reset();
  if (!std::exchange(mWasAway, true)) {
    mLog.diagnostic("Unable to listen to the system bus, which is looked for again: " + why);
    if (mWhenAway) mRunLoop.post([this, why] { mWhenAway(why); });
  }
  while (!mCalls.empty()) answer(mCalls.front(), failure(ENOTCONN));
  for (auto& each : mServices) each.owner.clear();
  mRunLoop.performAfterDelay(seconds(mPause), [this, attempt = mAttempt] {
    if (attempt == mAttempt) connect();
  });
  mPause = std::min(mPause * 2, kLongestPause);
}

}  // namespace gatehall
