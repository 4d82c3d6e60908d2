#pragma once

#include <memory>
#include <string>
#include <systemd/sd-bus.h>

#include "gatehall/base/Value.h"
#include "linux/bus/BusMethod.h"
#include "linux/files/HostOptions.h"
#include "portable/LazyLibrary.h"

namespace gatehall {

/// sd-bus(3), mapped on first use.
struct SdBus {
  LazyLibrary library{"libsystemd.so.0", "libsystemd0"};
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
  GATEHALL_SD_BUS(message_set_allow_interactive_authorization);
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
  GATEHALL_SD_BUS(message_is_method_call);
  GATEHALL_SD_BUS(message_get_reply_cookie);
  GATEHALL_SD_BUS(message_get_error);
  GATEHALL_SD_BUS(add_match_async);
  GATEHALL_SD_BUS(add_filter);
  GATEHALL_SD_BUS(call_async);
  GATEHALL_SD_BUS(attach_event);
  GATEHALL_SD_BUS(slot_unref);
  GATEHALL_SD_BUS(message_open_container);
  GATEHALL_SD_BUS(message_close_container);
  GATEHALL_SD_BUS(message_get_allow_interactive_authorization);
  GATEHALL_SD_BUS(message_ref);
  GATEHALL_SD_BUS(message_new_method_return);
  GATEHALL_SD_BUS(message_new_method_error);
  GATEHALL_SD_BUS(message_new_signal);
  GATEHALL_SD_BUS(message_set_destination);
  GATEHALL_SD_BUS(add_object_vtable);
  GATEHALL_SD_BUS(emit_properties_changed_strv);
  GATEHALL_SD_BUS(request_name_async);
  GATEHALL_SD_BUS(release_name_async);
  GATEHALL_SD_BUS(get_n_queued_write);
  /// What the first entry of a table of methods refers to, sd_bus_add_object_vtable(3).
  const unsigned* tableFormat = GATEHALL_FUNCTION(library, sd_bus_object_vtable_format);
#undef GATEHALL_SD_BUS
};

/// Raises PlatformException when libsystemd is not installed.
const SdBus& sdBus();

struct SdBusUnreferenced {
  void operator()(sd_bus* bus) const { sdBus().close_unref(bus); }
  void operator()(sd_bus_message* message) const { sdBus().message_unref(message); }
  void operator()(sd_bus_slot* slot) const { sdBus().slot_unref(slot); }
};
using SdBusConnection = std::unique_ptr<sd_bus, SdBusUnreferenced>;
using SdBusMessage = std::unique_ptr<sd_bus_message, SdBusUnreferenced>;
/// What waits for an answer or a signal; nothing is called once it is gone.
using SdBusSlot = std::unique_ptr<sd_bus_slot, SdBusUnreferenced>;

/// The D-Bus address of the system bus.
std::string systemBusAddress(const HostOptions& options);

/// A call of a method, to be sent: 0, or a negative errno(3) number.
int makeCall(sd_bus& bus, const BusMethod& method, const BusArguments& arguments,
             SdBusMessage& call);

/// Why a message can't be read: an errno(3) number, EBADMSG for a type that is not expected.
struct UnreadableMessage {
  int error = 0;
};

/// A message's values in order, as SystemBus::call describes them. Raises UnreadableMessage.
Array messageValues(sd_bus_message* message);

}  // namespace gatehall
