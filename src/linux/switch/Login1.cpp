#include "linux/switch/Login1.h"

#include <limits>
#include <string_view>
#include <utility>

#include "linux/sessions/GraphicalSession.h"

namespace gatehall {

namespace {

constexpr const char* kService = "org.freedesktop.login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr const char* kPath = "/org/freedesktop/login1";

/// The text at that place of a structure, empty when there is none.
std::string_view textAt(const Array& structure, std::size_t index) {
  const auto* text = index < structure.size() ? structure[index].string() : nullptr;
  return text == nullptr ? std::string_view() : std::string_view(*text);
}

std::string_view textOf(const Dictionary& properties, std::string_view name) {
  const auto found = properties.find(name);
  const auto* text = found == properties.end() ? nullptr : found->second.string();
  return text == nullptr ? std::string_view() : std::string_view(*text);
}

bool isSet(const Dictionary& properties, std::string_view name) {
  const auto found = properties.find(name);
  return found != properties.end() && found->second == Value(true);
}

/// One of ListSessions' entries: name, user id, user name, seat, object.
bool isOnSeat(const Array& entry, std::uint32_t userID) {
  return entry.size() == 5 && entry[1].integerValue() == std::int64_t{userID} &&
         textAt(entry, 3) == graphicalSession::kSeat && !textAt(entry, 0).empty();
}

std::optional<Login1::Owner> ownerIn(const Dictionary& properties) {
  const auto user = properties.find("User");
  const auto* structure = user == properties.end() ? nullptr : user->second.array();
  const bool isThere = structure != nullptr && !structure->empty();
  const auto number = isThere ? structure->front().integerValue() : std::nullopt;
  const auto name = textOf(properties, "Name");
  constexpr auto kEnd = std::numeric_limits<std::uint32_t>::max();
  if (!number || *number < 0 || *number >= kEnd || name.empty()) return std::nullopt;
  return Login1::Owner{static_cast<std::uint32_t>(*number), std::string(name)};
}

}  // namespace

std::optional<Login1::Reference> Login1::active() {
  const auto path = std::string(kPath) + "/seat/" + graphicalSession::kSeat;
  const auto value =
      mBus.property({kService, path, "org.freedesktop.login1.Seat", "ActiveSession"});
  const auto* structure = value.array();
  if (structure == nullptr || textAt(*structure, 0).empty()) return std::nullopt;
  return Reference{std::string(textAt(*structure, 0)), std::string(textAt(*structure, 1))};
}

std::optional<Dictionary> Login1::properties(const std::string& path) {
  try {
    const auto values =
        mBus.call({kService, path, "org.freedesktop.DBus.Properties", "GetAll"}, {kSession});
    const auto* found = values.size() == 1 ? values.front().dictionary() : nullptr;
    return found == nullptr ? std::nullopt : std::optional(*found);
  } catch (const BusError& error) {
    // A session that went away meanwhile is nothing out of the ordinary.
    if (error.name() != "org.freedesktop.DBus.Error.UnknownObject") throw;
    return std::nullopt;
  }
}

std::optional<Login1::RunningSession> Login1::runningSession(std::uint32_t userID) {
  const auto values = mBus.call({kService, kPath, kManager, "ListSessions"});
  const auto* list = values.size() == 1 ? values.front().array() : nullptr;
  std::optional<RunningSession> running;
  for (const auto& each : list == nullptr ? Array() : *list) {
    const auto* entry = each.array();
    if (entry == nullptr || !isOnSeat(*entry, userID)) continue;
    const auto session = properties(std::string(textAt(*entry, 4)));
    if (!session || !graphicalSession::isUsers(textOf(*session, "Class")) ||
        !graphicalSession::isGraphical(textOf(*session, "Type"))) {
      continue;
    }
    const auto state = textOf(*session, "State");
    RunningSession found{std::string(textAt(*entry, 0)), std::string(textAt(*entry, 4)),
                         ownerIn(*session), isSet(*session, "LockedHint"), state == "active"};
    if (found.isActive) return found;
    if (!running && graphicalSession::isLoggedIn(state)) running = std::move(found);
  }
  return running;
}

std::optional<Login1::Owner> Login1::owner(const RunningSession& session) {
  const auto found = properties(session.path);
  return found ? ownerIn(*found) : std::nullopt;
}

void Login1::lockActiveSession() {
  const auto session = active();
  if (!session) return;
  const auto found = properties(session->path);
  if (!found || !graphicalSession::isUsers(textOf(*found, "Class"))) return;
  mBus.call({kService, kPath, kManager, "LockSession"}, {session->name});
}

void Login1::activate(const std::string& session) {
  mBus.call({kService, kPath, kManager, "ActivateSessionOnSeat"},
            {session, graphicalSession::kSeat});
}

void Login1::unlock(const std::string& session) {
  mBus.call({kService, kPath, kManager, "UnlockSession"}, {session});
}

}  // namespace gatehall
