#pragma once

#include <memory>
#include <string>
#include <systemd/sd-bus.h>

#include "gatehall/base/Value.h"
#include "linux/files/HostOptions.h"
#include "portable/LazyLibrary.h"

namespace gatehall {

/// sd-bus(3), mapped on first use.
struct SdBus {
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
  GATEHALL_SD_BUS(send);
  GATEHALL_SD_BUS(error_free);
  GATEHALL_SD_BUS(message_new_method_call);
  GATEHALL_SD_BUS(message_append_basic);
  GATEHALL_SD_BUS(message_unref);
  GATEHALL_SD_BUS(message_peek_type);
  GATEHALL_SD_BUS(message_read_basic);
  GATEHALL_SD_BUS(message_enter_container);
  GATEHALL_SD_BUS(message_exit_container);
  GATEHALL_SD_BUS(message_get_sender);
  GATEHALL_SD_BUS(message_get_path);
  GATEHALL_SD_BUS(message_get_interface);
  GATEHALL_SD_BUS(message_get_member);
  GATEHALL_SD_BUS(message_is_method_error);
  GATEHALL_SD_BUS(message_is_signal);
  GATEHALL_SD_BUS(message_get_reply_cookie);
  GATEHALL_SD_BUS(message_get_error);
  GATEHALL_SD_BUS(add_match_async);
  GATEHALL_SD_BUS(call_async);
  GATEHALL_SD_BUS(attach_event);
#undef GATEHALL_SD_BUS
};

/// Raises PlatformException when libsystemd is not installed.
const SdBus& sdBus();

struct SdBusUnreferenced {
  void operator()(sd_bus* bus) const { sdBus().close_unref(bus); }
  void operator()(sd_bus_message* message) const { sdBus().message_unref(message); }
};
using SdBusConnection = std::unique_ptr<sd_bus, SdBusUnreferenced>;
using SdBusMessage = std::unique_ptr<sd_bus_message, SdBusUnreferenced>;

/// The D-Bus address of the system bus.
std::string systemBusAddress(const HostOptions& options);

/// Why a message can't be read: an errno(3) number, EBADMSG for a type that is not expected.
struct UnreadableMessage {
  int error = 0;
};

/// A message's values in order, as SystemBus::call describes them. Raises UnreadableMessage.
Array messageValues(sd_bus_message* message);

}  // namespace gatehall
