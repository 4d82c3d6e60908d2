#include "service/bus/Front.h"

#include <chrono>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "linux/bus/SdBus.h"
#include "service/bus/Names.h"
#include "service/bus/Object.h"

namespace gatehall::service {

namespace {

/// For the bus to welcome the connection and to give it its name.
constexpr std::chrono::seconds kLongestWelcome{30};
/// Until it is looked again whether all answers are on their way.
constexpr double kUntilTheNextLook = 0.01;
constexpr int kMostLooks = 300;

void check(int result) {
  if (result < 0) throw PlatformException(std::generic_category().message(-result));
}

double seconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}

}  // namespace

/// What is on the front's thread.
class Front::Connection {
 public:
  Connection(Front& front, EventLoop& events)
      : mFront(front), mLoop(front.mLoop), mLimits(front.mLimits), mLog(front.mLog) {
    const auto& sd = sdBus();
    sd_bus* bus = nullptr;
    check(sd.make(&bus));
    mBus.reset(bus);
    check(sd.set_address(bus, systemBusAddress(front.mOptions).c_str()));
    check(sd.set_bus_client(bus, 1));
    check(sd.start(bus));
    check(sd.add_match_async(bus, nullptr,
                             "type='signal',sender='org.freedesktop.DBus.Local',"
                             "path='/org/freedesktop/DBus/Local',"
                             "interface='org.freedesktop.DBus.Local',member='Disconnected'",
                             &onEnd, nullptr, this));
    mObject.emplace(*bus, mLoop, front.mQuestions, mLimits);
    check(sd.request_name_async(bus, nullptr, kServiceName, 0, &onName, this));
    check(sd.attach_event(bus, events.handle(), 0));
    mLoop.performAfterDelay(seconds(kLongestWelcome), [this] {
      if (!mHasName) end("no answer");
    });
  }

  Object& object() { return *mObject; }

 private:
  static int onEnd(sd_bus_message* /*message*/, void* self, sd_bus_error* /*error*/) {
    static_cast<Connection*>(self)->end("it ended the connection");
    return 0;
  }

  static int onName(sd_bus_message* answer, void* self, sd_bus_error* /*error*/) {
    auto& connection = *static_cast<Connection*>(self);
    constexpr std::uint32_t kIsOwner = 1;  // RequestName of org.freedesktop.DBus
    std::uint32_t result = 0;
    if (sdBus().message_is_method_error(answer, nullptr) > 0) {
      connection.end("it doesn't give the name " + std::string(kServiceName));
    } else if (sdBus().message_read_basic(answer, SD_BUS_TYPE_UINT32, &result) <= 0 ||
               result != kIsOwner) {
      connection.end("somebody else has the name " + std::string(kServiceName));
    } else {
      connection.mHasName = true;
      connection.lookWhetherIdle();
    }
    return 0;
  }

  /// What was sent before the bus has taken the name away comes before its answer.
  static int onNameGone(sd_bus_message* /*answer*/, void* self, sd_bus_error* /*error*/) {
    static_cast<Connection*>(self)->endWhenDone();
    return 0;
  }

  void end(const std::string& why) {
    mFront.mHasFailed = true;
    mLog.diagnostic("Unable to serve on the system bus: " + why);
    mLoop.stop();
  }

  void lookWhetherIdle() {
    const auto idle = std::chrono::steady_clock::now() - mObject->lastCall();
    if (mObject->isIdle() && idle >= mLimits.idle) {
      if (sdBus().release_name_async(mBus.get(), nullptr, kServiceName, &onNameGone, this) < 0) {
        return end("the name can't be given up");
      }
      mFront.mIsLeaving = true;
      mObject->takeNoWatchers();
      return;
    }
    const auto left = mObject->isIdle() ? mLimits.idle - idle : mLimits.idle;
    mLoop.performAfterDelay(std::chrono::duration<double>(left).count(),
                            [this] { lookWhetherIdle(); });
  }

  void endWhenDone() {
    std::uint64_t unsent = 0;
    const bool isKnown = sdBus().get_n_queued_write(mBus.get(), &unsent) >= 0;
    if (!isKnown || ++mLooks == kMostLooks || (mObject->waiting() == 0 && unsent == 0)) {
      return mLoop.stop();
    }
    mLoop.performAfterDelay(kUntilTheNextLook, [this] { endWhenDone(); });
  }

  Front& mFront;
  MainLoop& mLoop;
  const Limits& mLimits;
  Log& mLog;
  SdBusConnection mBus;
  std::optional<Object> mObject;
  bool mHasName = false;
  int mLooks = 0;
};

Front::Front(HostOptions options, const Limits& limits, Log& log, Questions::Answering answering,
             std::function<void()> ended)
    : mOptions(std::move(options)),
      mLimits(limits),
      mLog(log),
      mEnded(std::move(ended)),
      // No thread has this loop do anything for it and waits.
      mLoop(
          std::thread::id(),
          [this](EventLoop& events) { mConnection = std::make_unique<Connection>(*this, events); }),
      mQuestions(std::move(answering), limits.questions) {}

/// systemd ends a service whose name is gone (systemd.service(5), Type=dbus).
Front::~Front() {
  if (!mIsLeaving) mLoop.stop();
  mLoop.endThreads();
}

void Front::begin() {
  mLoop.detachNewThread([this] { run(); });
}

Audience Front::audience() {
  const auto tell = [this](auto member, auto... news) {
    mLoop.post([this, member, ... news = std::move(news)]() mutable {
      (mConnection->object().*member)(std::move(news)...);
    });
  };
  return {.list =
              [tell](Published state, std::optional<Published> withoutHours) {
                tell(&Object::setList, std::move(state), std::move(withoutHours));
              },
          .noList = [tell](std::string reason) { tell(&Object::setNoList, std::move(reason)); },
          .network = [tell](NetworkState state) { tell(&Object::setNetwork, state); }};
}

void Front::run() {
  try {
    mLoop.run();
  } catch (const PlatformException& failure) {
    mHasFailed = true;
    mLog.diagnostic(std::string("Unable to serve on the system bus: ") + failure.what());
  }
  mConnection.reset();
  mEnded();
}

}  // namespace gatehall::service
