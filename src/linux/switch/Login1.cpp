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
bool isOnSeat(const Array& entry) {
  return entry.size() == 5 && textAt(entry, 3) == graphicalSession::kSeat &&
         !textAt(entry, 0).empty();
}

std::optional<std::int64_t> ownersID(const Array& entry) { return entry[1].integerValue(); }

/// Login screens run as accounts of the system. A session of anybody else's that calls itself one
/// may be made to ask for passwords.
constexpr std::int64_t kFirstPersonsID = 1000;

bool isSystems(std::optional<std::int64_t> userID) { return userID && *userID < kFirstPersonsID; }

/// What can't be told must not look like nothing.
[[noreturn]] void failUnexpected(std::string_view what) {
  std::string text("Unable to ask ");
  text.append(kService).append(" for ").append(what);
  text.append(": an answer of a type that was not expected");
  throw BusError(text, "org.freedesktop.DBus.Error.InvalidArgs");
}

std::string seatPath() {
  return std::string(kPath).append("/seat/").append(graphicalSession::kSeat);
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

std::optional<Login1::Session> Login1::session(const std::string& name, const std::string& path) {
  try {
    const auto values =
        mBus.call({kService, path, "org.freedesktop.DBus.Properties", "GetAll"}, {kSession});
    const auto* found = values.size() == 1 ? values.front().dictionary() : nullptr;
    if (found == nullptr) failUnexpected("a session");
    const auto state = textOf(*found, "State");
    Session session{.name = name, .path = path, .owner = ownerIn(*found)};
    session.isUsers = graphicalSession::isUsers(textOf(*found, "Class"));
    session.isGreeter =
        textOf(*found, "Class") == "greeter" && session.owner && isSystems(session.owner->userID);
    session.isGraphical = graphicalSession::isGraphical(textOf(*found, "Type"));
    session.isLoggedIn = graphicalSession::isLoggedIn(state);
    session.isLocked = isSet(*found, "LockedHint");
    session.isActive = state == "active";
    return session;
  } catch (const BusError& error) {
    // A session that went away meanwhile is nothing out of the ordinary.
    if (error.name() != "org.freedesktop.DBus.Error.UnknownObject") throw;
    return std::nullopt;
  }
}

std::optional<Login1::Reference> Login1::active() {
  const auto value =
      mBus.property({kService, seatPath(), "org.freedesktop.login1.Seat", "ActiveSession"});
  const auto* structure = value.array();
  if (structure == nullptr || structure->size() != 2 || structure->front().string() == nullptr) {
    failUnexpected("the session in front");
  }
  if (textAt(*structure, 0).empty()) return std::nullopt;
  return Reference{std::string(textAt(*structure, 0)), std::string(textAt(*structure, 1))};
}

std::optional<Login1::Session> Login1::front() {
  const auto reference = active();
  return reference ? session(reference->name, reference->path) : std::nullopt;
}

/// The first session on the seat that is one, but the active one before others.
std::optional<Login1::Session> Login1::onSeat(const std::function<bool(const Array& entry)>& mayBe,
                                              const std::function<bool(const Session&)>& is) {
  const auto values = mBus.call({kService, kPath, kManager, "ListSessions"});
  const auto* list = values.size() == 1 ? values.front().array() : nullptr;
  std::optional<Session> first;
  for (const auto& each : list == nullptr ? Array() : *list) {
    const auto* entry = each.array();
    if (entry == nullptr || !isOnSeat(*entry) || !mayBe(*entry)) continue;
    auto found = session(std::string(textAt(*entry, 0)), std::string(textAt(*entry, 4)));
    if (!found || !found->isGraphical || !found->isLoggedIn || !is(*found)) continue;
    if (found->isActive) return found;
    if (!first) first = std::move(found);
  }
  return first;
}

std::optional<Login1::Session> Login1::runningSession(std::uint32_t userID) {
  return onSeat([userID](const Array& entry) { return ownersID(entry) == std::int64_t{userID}; },
                [](const Session& session) { return session.isUsers; });
}

std::optional<Login1::Session> Login1::greeter() {
  return onSeat([](const Array& entry) { return isSystems(ownersID(entry)); },
                [](const Session& session) { return session.isGreeter; });
}

std::optional<Login1::Owner> Login1::owner(const Session& session) {
  const auto found = this->session(session.name, session.path);
  return found ? found->owner : std::nullopt;
}

void Login1::followChanges() {
  if (mFollowsChanges) return;
  mBus.followProperties(kService, kPath);
  mFollowsChanges = true;
}

bool Login1::lock(const Session& session, std::chrono::milliseconds limit) {
  followChanges();
  mBus.call({kService, kPath, kManager, "LockSession"}, {session.name});
  return mBus.waitUntil(
      [&] {
        return mBus.property({kService, session.path, kSession, "LockedHint"}) == Value(true);
      },
      limit);
}

void Login1::unlock(const Session& session) {
  mBus.call({kService, kPath, kManager, "UnlockSession"}, {session.name});
}

void Login1::activate(const Session& session, std::chrono::milliseconds limit) {
  followChanges();
  mBus.call({kService, kPath, kManager, "ActivateSessionOnSeat"},
            {session.name, graphicalSession::kSeat});
  mBus.waitUntil([&] { return isInFront(session); }, limit);
}

/// False also when that can't be told.
bool Login1::isInFront(const Session& session) {
  try {
    const auto reference = active();
    return reference && reference->name == session.name;
  } catch (const BusError&) {
    return false;
  }
}

}  // namespace gatehall
