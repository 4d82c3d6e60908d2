#pragma once

#include <span>
#include <string_view>
#include <utility>

#include "gatehall/world/json/WorldError.h"
#include "world/json/JsonCursor.h"
#include "world/script/Script.h"

/// The kinds of events that a script may hold, each with the reader of what stands under its name.
namespace gatehall::scriptEvents {

/// What a reader makes of an event: to whom it happens, in words, and what happens.
struct Event {
  std::string subject;
  std::function<void(World&)> happen;
};

struct Kind {
  std::string_view name;
  Event (*read)(const JsonCursor& at);
};

std::span<const Kind> ofRecords();   ///< users, groups and their members
std::span<const Kind> ofSessions();  ///< who is logged in, and where
std::span<const Kind> ofSettings();  ///< preferences, managed files, access lists, controls
std::span<const Kind> ofMachine();   ///< reachability, locale, clock, any notification

/// Does what may fail in a world that lacks something, and says of such a failure where it was
/// asked for.
template <class Function>
auto at(const std::string& place, Function function) {
  try {
    return function();
  } catch (const std::logic_error& failure) {
    throw WorldError(place + ": " + failure.what());
  }
}

}  // namespace gatehall::scriptEvents
