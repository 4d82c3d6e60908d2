#include "linux/switch/DisplayManagerCalls.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace gatehall::displayManagerCalls {

namespace {

using switchDecision::DisplayManager;
using switchDecision::Step;

constexpr const char* kSeatService = "org.freedesktop.DisplayManager";
constexpr const char* kSeatManager = "/org/freedesktop/DisplayManager";
constexpr const char* kGdmService = "org.gnome.DisplayManager";

bool isOnBus(SystemBus& bus, const char* name) {
  const auto answer = bus.call(
      {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner"},
      {name});
  return answer == Array{true};
}

/// What the manager's object says about its interfaces; empty when it says nothing.
std::string description(SystemBus& bus) {
  try {
    const auto answer =
        bus.call({kSeatService, kSeatManager, "org.freedesktop.DBus.Introspectable", "Introspect"});
    const auto* text = answer.empty() ? nullptr : answer.front().string();
    return text == nullptr ? std::string() : *text;
  } catch (const BusError& error) {
    const std::string_view name = error.name();
    if (name.starts_with("org.freedesktop.DBus.Error.Unknown") ||
        name == "org.freedesktop.DBus.Error.AccessDenied") {
      return {};
    }
    throw;
  }
}

/// SDDM offers LightDM's interface to seats, but its SwitchToUser and SwitchToGuest do nothing. Of
/// the two only LightDM's object can add seats. A program's name to go by would have to be looked
/// up in /proc, which may be closed to the caller.
bool isLightDM(SystemBus& bus) {
  return description(bus).find("\"AddLocalXSeat\"") != std::string::npos;
}

/// The console's seat. LightDM numbers seats as they appear, so it is Seat0 unless that went away
/// and came back under another number.
std::string seatPath(SystemBus& bus) {
  const auto seats = bus.property({kSeatService, kSeatManager, kSeatService, "Seats"});
  const auto* paths = seats.array();
  const auto usual = std::string(kSeatManager) + "/Seat0";
  if (paths == nullptr || paths->empty() || paths->front().string() == nullptr) return usual;
  const bool hasUsual = std::find(paths->begin(), paths->end(), Value(usual)) != paths->end();
  return hasUsual ? usual : *paths->front().string();
}

BusMethod seat(SystemBus& bus, const char* member) {
  return {kSeatService, seatPath(bus), "org.freedesktop.DisplayManager.Seat", member};
}

}  // namespace

DisplayManager find(SystemBus& bus) {
  if (isOnBus(bus, kSeatService)) {
    return isLightDM(bus) ? DisplayManager::LightDM : DisplayManager::OtherSeat;
  }
  return isOnBus(bus, kGdmService) ? DisplayManager::GDM : DisplayManager::None;
}

void perform(SystemBus& bus, Step step, const switchDecision::Target& target,
             const SystemBus::Condition& isDone) {
  // An empty session name asks for the user's usual session.
  switch (step) {
    case Step::SwitchToUser:
      return bus.callUntil(seat(bus, "SwitchToUser"), {target.name, ""}, isDone);
    case Step::SwitchToGuest:
      return bus.callUntil(seat(bus, "SwitchToGuest"), {""}, isDone);
    case Step::SwitchToGreeter:
      return bus.callUntil(seat(bus, "SwitchToGreeter"), {}, isDone);
    case Step::CreateTransientDisplay:
      return bus.callUntil(
          {kGdmService, "/org/gnome/DisplayManager/LocalDisplayFactory",
           "org.gnome.DisplayManager.LocalDisplayFactory", "CreateTransientDisplay"},
          {}, isDone);
    case Step::Impossible:
      return;
  }
}

}  // namespace gatehall::displayManagerCalls
