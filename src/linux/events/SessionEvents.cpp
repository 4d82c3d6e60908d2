#include "linux/events/SessionEvents.h"

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/NotificationNames.h"
#include "linux/events/AccountEvents.h"
#include "linux/sessions/GraphicalSession.h"
#include "linux/sessions/SdLogin.h"

namespace gatehall {

namespace {

constexpr const char* kLogind = "org.freedesktop.login1";

}  // namespace

SessionEvents::SessionEvents(BusWatch& bus, LocalNotificationCenter& distributed,
                             LinuxSystemNotifications& system, Log& log)
    : mDistributed(distributed), mSystem(system), mLog(log), mFirstConsole(console()) {
  readSessions();
  bus.follow(kLogind, [this](bool isThere) {
    if (!isThere) return;
    readSessions();
    post(kRefreshUserListNotification);
  });
  bus.listen(kLogind,
             "type='signal',path='/org/freedesktop/login1',"
             "interface='org.freedesktop.login1.Manager'",
             [this](const BusSignal& signal) { sessionsChanged(signal); });
  bus.listen(kLogind,
             std::string("type='signal',path='/org/freedesktop/login1/seat/") +
                 graphicalSession::kSeat +
                 "',interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
             [this](const BusSignal& signal) {
               const auto changed = changedProperties(signal, "org.freedesktop.login1.Seat");
               if (changed.contains("ActiveSession")) {
                 mSystem.post(kConsoleSessionChangedNotification);
               }
             });
}

void SessionEvents::sessionsChanged(const BusSignal& signal) {
  const auto* name = signal.values.empty() ? nullptr : signal.values[0].string();
  if (name == nullptr) return;
  if (signal.member == "SessionNew") note(*name, login(*name) != Login::No);
  if (signal.member == "SessionRemoved") note(*name, false);
}

void SessionEvents::fileChanged(const std::string& session) {
  const auto now = login(session);
  if (now != Login::Unknown) note(session, now == Login::Yes);
}

/// Whether a login screen has to know of the session as that of somebody who is logged in.
SessionEvents::Login SessionEvents::login(const std::string& session) const {
  try {
    const auto found = sdLogin::session(session);
    if (!found) return Login::Unknown;
    const bool counts = !found->seat.empty() && graphicalSession::isGraphical(found->type) &&
                        graphicalSession::isUsers(found->kind);
    return counts && graphicalSession::isLoggedIn(found->state) ? Login::Yes : Login::No;
  } catch (const PlatformException& failure) {
    mLog.error(failure.what());
    return Login::Unknown;
  }
}

void SessionEvents::note(const std::string& session, bool isLoggedIn) {
  const bool changes = isLoggedIn ? mSessions.insert(session).second : mSessions.erase(session) > 0;
  if (changes) post(kSessionUserChangedNotification);
}

std::optional<std::string> SessionEvents::console() const {
  try {
    return sdLogin::activeSession(graphicalSession::kSeat);
  } catch (const PlatformException& failure) {
    mLog.error(failure.what());
    return std::nullopt;
  }
}

void SessionEvents::listening() {
  if (console() != mFirstConsole) mSystem.post(kConsoleSessionChangedNotification);
}

void SessionEvents::readSessions() {
  mSessions.clear();
  try {
    for (const auto& name : sdLogin::sessions()) {
      if (login(name) != Login::No) mSessions.insert(name);
    }
  } catch (const PlatformException& failure) {
    mLog.error(failure.what());
  }
}

void SessionEvents::post(std::string_view notification) {
  mDistributed.post({std::string(notification), std::nullopt});
}

}  // namespace gatehall
