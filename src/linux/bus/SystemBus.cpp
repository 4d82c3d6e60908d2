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

struct ErrorText {
  sd_bus_error error{};
  ErrorText() = default;
  ~ErrorText() { sdBus().error_free(&error); }
  ErrorText(const ErrorText&) = delete;
  ErrorText& operator=(const ErrorText&) = delete;
};

std::string errorName(int number) {
  return number == ETIMEDOUT ? "Timeout" : "errno " + std::to_string(number);
}

/// Of what others wrote, in a line of the log.
constexpr std::size_t kLongestText = 300;

[[noreturn]] void fail(const BusMethod& method, const std::string& why, std::string name) {
  throw BusError("Unable to ask " + printable(method.service, kLongestText) + " for " +
                     method.member + ": " + why,
                 std::move(name));
}

/// sd-bus answers by negative errno(3) numbers.
int checked(const BusMethod& method, int result) {
  if (result < 0) fail(method, std::generic_category().message(-result), errorName(-result));
  return result;
}

}  // namespace

struct SystemBus::Connection {
  SdBusConnection bus;
};

SystemBus::SystemBus(const HostOptions& options, Deadline deadline)
    : mCallTimeout(options.callTimeout),
      mDeadline(deadline),
      mConnection(std::make_unique<Connection>()) {
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

Array SystemBus::call(const BusMethod& method, const Strings& arguments) {
  return exchange(method, arguments, method);
}

Value SystemBus::property(const BusMethod& property) {
  const BusMethod get{property.service, property.path, "org.freedesktop.DBus.Properties", "Get"};
  auto values = exchange(get, {property.interface, property.member}, property);
  if (values.size() != 1) fail(property, kUnexpected, errorName(EBADMSG));
  return std::move(values.front());
}

/// Calls a method; failures speak of the subject.
Array SystemBus::exchange(const BusMethod& method, const Strings& arguments,
                          const BusMethod& subject) {
  const auto& sd = sdBus();
  auto* bus = mConnection->bus.get();
  sd_bus_message* question = nullptr;
  checked(subject,
          sd.message_new_method_call(bus, &question, method.service.c_str(), method.path.c_str(),
                                     method.interface.c_str(), method.member.c_str()));
  const SdBusMessage request(question);
  for (const auto& each : arguments) {
    checked(subject, sd.message_append_basic(question, SD_BUS_TYPE_STRING, each.c_str()));
  }

  ErrorText failure;
  sd_bus_message* answer = nullptr;
  const int result = sd.call(bus, question, static_cast<std::uint64_t>(callLimit().count()),
                             &failure.error, &answer);
  const SdBusMessage reply(answer);
  if (result < 0 && failure.error.name != nullptr) {
    const auto* text = failure.error.message;
    fail(subject, printable(text == nullptr ? failure.error.name : text, kLongestText),
         failure.error.name);
  }
  checked(subject, result);
  try {
    return messageValues(answer);
  } catch (const UnreadableMessage& unreadable) {
    if (unreadable.error == EBADMSG) fail(subject, kUnexpected, errorName(EBADMSG));
    fail(subject, std::generic_category().message(unreadable.error), errorName(unreadable.error));
  }
}

}  // namespace gatehall
