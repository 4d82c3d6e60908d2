#include "platform/linux/SystemBus.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <systemd/sd-bus.h>
#include <utility>

#include "platform/portable/LazyLibrary.h"

namespace gatehall {

namespace {

constexpr const char* kSystemBusAddress = "unix:path=/run/dbus/system_bus_socket";

constexpr const char* kUnexpected = "an answer of a type that was not expected";

struct Library {
  LazyLibrary library{"libsystemd.so.0"};
#define GATEHALL_SD_BUS(name) \
  decltype(::sd_bus_##name)* name = GATEHALL_FUNCTION(library, sd_bus_##name)
  // "new" is no name for a field.
  decltype(::sd_bus_new)* make = GATEHALL_FUNCTION(library, sd_bus_new);
  GATEHALL_SD_BUS(set_address);
  GATEHALL_SD_BUS(set_bus_client);
  GATEHALL_SD_BUS(start);
  GATEHALL_SD_BUS(is_ready);
  GATEHALL_SD_BUS(process);
  GATEHALL_SD_BUS(wait);
  GATEHALL_SD_BUS(close_unref);
  GATEHALL_SD_BUS(call);
  GATEHALL_SD_BUS(error_free);
  GATEHALL_SD_BUS(message_new_method_call);
  GATEHALL_SD_BUS(message_append_basic);
  GATEHALL_SD_BUS(message_unref);
  GATEHALL_SD_BUS(message_peek_type);
  GATEHALL_SD_BUS(message_read_basic);
  GATEHALL_SD_BUS(message_enter_container);
  GATEHALL_SD_BUS(message_exit_container);
#undef GATEHALL_SD_BUS
};

const Library& libsystemd() {
  static const Library library;
  return library;
}

struct Unreferenced {
  void operator()(sd_bus* bus) const { libsystemd().close_unref(bus); }
  void operator()(sd_bus_message* message) const { libsystemd().message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Unreferenced>;

struct ErrorText {
  sd_bus_error error{};
  ErrorText() = default;
  ~ErrorText() { libsystemd().error_free(&error); }
  ErrorText(const ErrorText&) = delete;
  ErrorText& operator=(const ErrorText&) = delete;
};

std::string errorName(int number) {
  return number == ETIMEDOUT ? "Timeout" : "errno " + std::to_string(number);
}

/// What others wrote, for a line of the log: printable and of a bearable length.
std::string printable(std::string_view text) {
  constexpr std::size_t longest = 300;
  std::string line(text.substr(0, longest));
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return line;
}

[[noreturn]] void fail(const BusMethod& method, const std::string& why, std::string name) {
  throw BusError(
      "Unable to ask " + printable(method.service) + " for " + method.member + ": " + why,
      std::move(name));
}

/// sd-bus answers by negative errno(3) numbers.
int checked(const BusMethod& method, int result) {
  if (result < 0) fail(method, std::generic_category().message(-result), errorName(-result));
  return result;
}

/// Turns an answer's values into ours. What sd-bus hands out is well-formed, so at most 64
/// containers deep, and its texts are UTF-8.
class Reader {
 public:
  Reader(sd_bus_message* message, const BusMethod& method) : mMessage(message), mMethod(method) {}

  Array all() {
    Array values;
    while (auto value = next()) values.push_back(std::move(*value));
    return values;
  }

 private:
  std::optional<Value> next() {
    char type = 0;
    const char* contents = nullptr;
    if (check(libsystemd().message_peek_type(mMessage, &type, &contents)) == 0) return std::nullopt;
    switch (type) {
      case SD_BUS_TYPE_ARRAY:
        return array(contents);
      case SD_BUS_TYPE_STRUCT:
      case SD_BUS_TYPE_DICT_ENTRY:
        return within(type, contents);
      case SD_BUS_TYPE_VARIANT:
        return variant(contents);
      default:
        return basic(type);
    }
  }

  Array within(char type, const char* contents) {
    check(libsystemd().message_enter_container(mMessage, type, contents));
    auto values = all();
    check(libsystemd().message_exit_container(mMessage));
    return values;
  }

  Value variant(const char* contents) {
    auto values = within(SD_BUS_TYPE_VARIANT, contents);
    if (values.size() != 1) fail(mMethod, kUnexpected, errorName(EBADMSG));
    return std::move(values.front());
  }

  Value array(const char* contents) {
    const std::string_view element(contents);
    auto elements = within(SD_BUS_TYPE_ARRAY, contents);
    if (!element.starts_with("{s") && !element.starts_with("{o")) return elements;
    Dictionary entries;
    for (auto& each : elements) {
      auto entry = *each.array();
      entries.insert_or_assign(*entry.front().string(), std::move(entry.back()));
    }
    return entries;
  }

  template <class T>
  T read(char type) {
    T value{};
    check(libsystemd().message_read_basic(mMessage, type, &value));
    return value;
  }

  Value basic(char type) {
    switch (type) {
      case SD_BUS_TYPE_BOOLEAN:
        return read<int>(type) != 0;
      case SD_BUS_TYPE_BYTE:
        return std::int64_t{read<std::uint8_t>(type)};
      case SD_BUS_TYPE_INT16:
        return std::int64_t{read<std::int16_t>(type)};
      case SD_BUS_TYPE_UINT16:
        return std::int64_t{read<std::uint16_t>(type)};
      case SD_BUS_TYPE_INT32:
        return std::int64_t{read<std::int32_t>(type)};
      case SD_BUS_TYPE_UINT32:
        return std::int64_t{read<std::uint32_t>(type)};
      case SD_BUS_TYPE_INT64:
        return read<std::int64_t>(type);
      case SD_BUS_TYPE_UINT64: {
        const auto number = read<std::uint64_t>(type);
        if (number > INT64_MAX) return static_cast<double>(number);
        return static_cast<std::int64_t>(number);
      }
      case SD_BUS_TYPE_DOUBLE:
        return read<double>(type);
      case SD_BUS_TYPE_STRING:
      case SD_BUS_TYPE_OBJECT_PATH:
      case SD_BUS_TYPE_SIGNATURE:
        return read<const char*>(type);
      default:
        fail(mMethod, kUnexpected, errorName(EBADMSG));
    }
  }

  int check(int result) { return checked(mMethod, result); }

  sd_bus_message* mMessage;
  const BusMethod& mMethod;
};

}  // namespace

struct SystemBus::Connection {
  std::unique_ptr<sd_bus, Unreferenced> bus;
};

SystemBus::SystemBus(const HostOptions& options, Deadline deadline)
    : mCallTimeout(options.callTimeout),
      mDeadline(deadline),
      mConnection(std::make_unique<Connection>()) {
  const auto& sd = libsystemd();
  const auto address =
      options.systemBusAddress.empty() ? kSystemBusAddress : options.systemBusAddress.c_str();
  const auto check = [&](int result) {
    if (result >= 0) return result;
    throw BusError(std::string("Unable to connect to the system bus at ") + address + ": " +
                       std::generic_category().message(-result),
                   errorName(-result));
  };

  sd_bus* raw = nullptr;
  check(sd.make(&raw));
  mConnection->bus.reset(raw);
  check(sd.set_address(raw, address));
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
  const auto& sd = libsystemd();
  auto* bus = mConnection->bus.get();
  sd_bus_message* question = nullptr;
  checked(subject,
          sd.message_new_method_call(bus, &question, method.service.c_str(), method.path.c_str(),
                                     method.interface.c_str(), method.member.c_str()));
  const Message request(question);
  for (const auto& each : arguments) {
    checked(subject, sd.message_append_basic(question, SD_BUS_TYPE_STRING, each.c_str()));
  }

  ErrorText failure;
  sd_bus_message* answer = nullptr;
  const int result = sd.call(bus, question, static_cast<std::uint64_t>(callLimit().count()),
                             &failure.error, &answer);
  const Message reply(answer);
  if (result < 0 && failure.error.name != nullptr) {
    const auto* text = failure.error.message;
    fail(subject, printable(text == nullptr ? failure.error.name : text), failure.error.name);
  }
  checked(subject, result);
  return Reader(answer, subject).all();
}

}  // namespace gatehall
