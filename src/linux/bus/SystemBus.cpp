#include "linux/bus/SystemBus.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "linux/bus/SdBus.h"
#include "linux/files/FaultLog.h"

namespace gatehall {

namespace {

constexpr const char* kUnexpected = "an answer of a type that was not expected";

constexpr const char* kLate = "Timeout";

struct ErrorText {
  sd_bus_error error{};
  ErrorText() = default;
  ~ErrorText() { sdBus().error_free(&error); }
  ErrorText(const ErrorText&) = delete;
  ErrorText& operator=(const ErrorText&) = delete;
};

std::string errorName(int number) {
  return number == ETIMEDOUT ? kLate : "errno " + std::to_string(number);
}

/// Of what others wrote, in a line of the log.
constexpr std::size_t kLongestText = 300;

[[noreturn]] void fail(const BusMethod& method, const std::string& why, std::string name) {
  throw BusError("Unable to ask " + printable(method.service, kLongestText) + " for " +
                     method.member + ": " + why,
                 std::move(name));
}

[[noreturn]] void refuse(const BusMethod& method, const sd_bus_error& error) {
  const auto* text = error.message;
  fail(method, printable(text == nullptr ? error.name : text, kLongestText), error.name);
}

/// sd-bus answers by negative errno(3) numbers.
int checked(const BusMethod& method, int result) {
  if (result < 0) fail(method, std::generic_category().message(-result), errorName(-result));
  return result;
}

constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kChanged = "PropertiesChanged";

/// What waits are told of.
const BusMethod kSignals{"the system bus", "", "", "its signals"};

bool isChange(sd_bus_message* message) {
  return sdBus().message_is_signal(message, kProperties, kChanged) > 0;
}

}  // namespace

bool BusError::isLate() const { return mName == kLate || mName == SD_BUS_ERROR_TIMEOUT; }

struct SystemBus::Connection {
  SdBusConnection bus;
};

struct SystemBus::Message {
  SdBusMessage message;
};

SystemBus::SystemBus(const HostOptions& options, Deadline deadline)
    : mCallTimeout(options.callTimeout),
      mDeadline(deadline),
      mConnection(std::make_unique<Connection>()) {
  if (!options.isRunning)
    throw PlatformException("There is no system bus: the machine doesn't run.");
  const auto& sd = sdBus();
  const auto address = systemBusAddress(options);
  const auto check = [&](int result) {
    if (result >= 0) return result;
    throw BusError("Unable to connect to the system bus at " + address + ": " +
                       std::generic_category().message(-result),
                   errorName(-result));
  };

  sd_bus* raw = nullptr;
  check(sd.make(&raw));
  mConnection->bus.reset(raw);
  check(sd.set_address(raw, address.c_str()));
  check(sd.set_bus_client(raw, 1));
  check(sd.start(raw));
  // sd-bus by itself waits for the bus's welcome as long as its own limits say.
  const auto welcomeBy = std::chrono::steady_clock::now() + callLimit();
  while (sd.is_ready(raw) == 0) {
    if (check(sd.process(raw, nullptr)) > 0) continue;
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
        welcomeBy - std::chrono::steady_clock::now());
    if (left.count() <= 0) check(-ETIMEDOUT);
    const int result = sd.wait(raw, static_cast<std::uint64_t>(left.count()));
    if (result != -EINTR) check(result);
  }
}

SystemBus::~SystemBus() = default;

std::chrono::microseconds SystemBus::callLimit() const {
  const auto left = mDeadline - std::chrono::steady_clock::now();
  const auto limit = std::min<std::chrono::nanoseconds>(left, mCallTimeout);
  // sd-bus takes 0 for a limit of its own.
  return std::max(std::chrono::duration_cast<std::chrono::microseconds>(limit),
                  std::chrono::microseconds(1));
}

Array SystemBus::call(const BusMethod& method, const BusArguments& arguments,
                      bool allowsPasswords) {
  const auto question = request(method, arguments, method);
  if (allowsPasswords) {
    checked(method, sdBus().message_set_allow_interactive_authorization(question.message.get(), 1));
  }
  return exchange(question, method);
}

Value SystemBus::property(const BusMethod& property) {
  const BusMethod get{property.service, property.path, kProperties, "Get"};
  auto values = exchange(request(get, {property.interface, property.member}, property), property);
  if (values.size() != 1) fail(property, kUnexpected, errorName(EBADMSG));
  return std::move(values.front());
}

SystemBus::Message SystemBus::request(const BusMethod& method, const BusArguments& arguments,
                                      const BusMethod& subject) const {
  SdBusMessage request;
  checked(subject, makeCall(*mConnection->bus, method, arguments, request));
  return {std::move(request)};
}

/// Sends a question and waits for its answer; failures speak of the subject.
Array SystemBus::exchange(const Message& question, const BusMethod& subject) {
  const auto& sd = sdBus();
  ErrorText failure;
  sd_bus_message* answer = nullptr;
  const int result =
      sd.call(mConnection->bus.get(), question.message.get(),
              static_cast<std::uint64_t>(callLimit().count()), &failure.error, &answer);
  const SdBusMessage reply(answer);
  if (result < 0 && failure.error.name != nullptr) refuse(subject, failure.error);
  checked(subject, result);
  try {
    return messageValues(answer);
  } catch (const UnreadableMessage& unreadable) {
    if (unreadable.error == EBADMSG) fail(subject, kUnexpected, errorName(EBADMSG));
    fail(subject, std::generic_category().message(unreadable.error), errorName(unreadable.error));
  }
}

void SystemBus::followProperties(const std::string& service, const std::string& path) {
  call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "AddMatch"},
       {"type='signal',sender='" + service + "',path_namespace='" + path + "',interface='" +
        kProperties + "',member='" + kChanged + "'"});
}

/// What comes next; nothing when nothing comes by then.
SystemBus::Message SystemBus::next(Deadline deadline) {
  const auto& sd = sdBus();
  auto* bus = mConnection->bus.get();
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return {};
    sd_bus_message* raw = nullptr;
    const int result = checked(kSignals, sd.process(bus, &raw));
    if (raw != nullptr) return {SdBusMessage(raw)};
    if (result > 0) continue;
    const int waited = sd.wait(bus, static_cast<std::uint64_t>(left.count()));
    if (waited != -EINTR) checked(kSignals, waited);
  }
}

bool SystemBus::waitUntil(const Condition& holds, std::chrono::milliseconds limit) {
  const auto deadline = std::min(mDeadline, std::chrono::steady_clock::now() + limit);
  while (!holds()) {
    Message message;
    do {
      message = next(deadline);
      if (!message.message) return false;
    } while (!isChange(message.message.get()));
  }
  return true;
}

void SystemBus::extend(std::chrono::milliseconds limit) {
  mDeadline = std::max(mDeadline, std::chrono::steady_clock::now() + limit);
}

void SystemBus::callUntil(const BusMethod& method, const BusArguments& arguments,
                          const Condition& holds) {
  const auto& sd = sdBus();
  const auto question = request(method, arguments, method);
  std::uint64_t cookie = 0;
  checked(method, sd.send(mConnection->bus.get(), question.message.get(), &cookie));
  for (;;) {
    const auto message = next(mDeadline);
    auto* raw = message.message.get();
    if (raw == nullptr) checked(method, -ETIMEDOUT);
    std::uint64_t answered = 0;
    if (sd.message_get_reply_cookie(raw, &answered) >= 0 && answered == cookie) {
      if (sd.message_is_method_error(raw, nullptr) > 0) refuse(method, *sd.message_get_error(raw));
      return;
    }
    if (isChange(raw) && holds()) return;
  }
}

}  // namespace gatehall
