#include "linux/bus/SdBus.h"

#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

namespace gatehall {

namespace {

/// Turns a message's values into ours. What sd-bus hands out is well-formed, so at most 64
/// containers deep, and its texts are UTF-8.
class Reader {
 public:
  explicit Reader(sd_bus_message* message) : mMessage(message) {}

  Array all() {
    Array values;
    while (auto value = next()) values.push_back(std::move(*value));
    return values;
  }

 private:
  std::optional<Value> next() {
    char type = 0;
    const char* contents = nullptr;
    if (check(sdBus().message_peek_type(mMessage, &type, &contents)) == 0) return std::nullopt;
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
    check(sdBus().message_enter_container(mMessage, type, contents));
    auto values = all();
    check(sdBus().message_exit_container(mMessage));
    return values;
  }

  Value variant(const char* contents) {
    auto values = within(SD_BUS_TYPE_VARIANT, contents);
    if (values.size() != 1) throw UnreadableMessage{EBADMSG};
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
    check(sdBus().message_read_basic(mMessage, type, &value));
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
        throw UnreadableMessage{EBADMSG};
    }
  }

  /// sd-bus answers by negative errno(3) numbers.
  static int check(int result) {
    if (result < 0) throw UnreadableMessage{-result};
    return result;
  }

  sd_bus_message* mMessage;
};

}  // namespace

const SdBus& sdBus() {
  static const SdBus library;
  return library;
}

std::string systemBusAddress(const HostOptions& options) {
  if (!options.systemBusAddress.empty()) return options.systemBusAddress;
  return "unix:path=/run/dbus/system_bus_socket";
}

int makeCall(sd_bus& bus, const BusMethod& method, const BusArguments& arguments,
             SdBusMessage& call) {
  const auto& sd = sdBus();
  sd_bus_message* raw = nullptr;
  int result = sd.message_new_method_call(&bus, &raw, method.service.c_str(), method.path.c_str(),
                                          method.interface.c_str(), method.member.c_str());
  call.reset(raw);
  for (const auto& argument : arguments) {
    if (result < 0) break;
    if (const auto* text = std::get_if<std::string>(&argument)) {
      result = sd.message_append_basic(raw, SD_BUS_TYPE_STRING, text->c_str());
    } else if (const auto* number = std::get_if<std::uint32_t>(&argument)) {
      result = sd.message_append_basic(raw, SD_BUS_TYPE_UINT32, number);
    } else if (const auto* truth = std::get_if<bool>(&argument)) {
      const int value = *truth ? 1 : 0;
      result = sd.message_append_basic(raw, SD_BUS_TYPE_BOOLEAN, &value);
    } else {
      result =
          sd.message_append_basic(raw, SD_BUS_TYPE_UINT64, std::get_if<std::uint64_t>(&argument));
    }
  }
  return result < 0 ? result : 0;
}

Array messageValues(sd_bus_message* message) { return Reader(message).all(); }

}  // namespace gatehall
