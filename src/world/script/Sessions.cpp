#include <array>

#include "gatehall/platform/NotificationNames.h"
#include "world/file/WorldFile.h"
#include "world/script/Events.h"

namespace gatehall::scriptEvents {

namespace {

void postUserChange(World& world) {
  world.distributedNotificationCenter().post(kSessionUserChangedNotification);
}

void postConsoleChange(World& world) {
  world.systemNotifications().post(kConsoleSessionChangedNotification);
}

std::string describe(const WorldSession& session) {
  std::string text = session.id ? std::to_string(*session.id) : "";
  if (session.userName) text += (text.empty() ? "" : ", ") + *session.userName;
  return text;
}

Event readOpening(const JsonCursor& at) {
  const auto session = readSession(at);
  return {describe(session), [=](World& world) {
            world.sessions().open(session);
            postUserChange(world);
          }};
}

Event readChange(const JsonCursor& at) {
  const auto session = readSession(at);
  if (!session.id) at.fail(R"(the event needs an "id")");
  return {describe(session), [=, place = at.place()](World& world) {
            scriptEvents::at(place, [&] { world.sessions().change(session); });
            postUserChange(world);
          }};
}

Event readClosing(const JsonCursor& at) {
  const auto id = at.integer();
  return {std::to_string(id), [=, place = at.place()](World& world) {
            const auto console = world.sessions().copyCurrentSession();
            if (!world.sessions().close(id)) {
              throw WorldError(place + ": no session " + std::to_string(id));
            }
            postUserChange(world);
            if (world.sessions().copyCurrentSession() != console) postConsoleChange(world);
          }};
}

/// As "current" of a world's sessions: the id of one in the list, a whole session, or null.
Event readConsole(const JsonCursor& at) {
  if (at.isNull()) {
    return {"none", [](World& world) {
              world.sessions().clearCurrent();
              postConsoleChange(world);
            }};
  }
  if (at.isObject()) {
    const auto session = readSession(at);
    return {describe(session), [=](World& world) {
              world.sessions().setCurrent(session);
              postConsoleChange(world);
            }};
  }
  const auto id = at.integer();
  return {std::to_string(id), [=, place = at.place()](World& world) {
            scriptEvents::at(place, [&] { world.sessions().setCurrent(id); });
            postConsoleChange(world);
          }};
}

constexpr std::array kKinds = {
    Kind{"openSession", readOpening},
    Kind{"changeSession", readChange},
    Kind{"closeSession", readClosing},
    Kind{"currentSession", readConsole},
};

}  // namespace

std::span<const Kind> ofSessions() { return kKinds; }

}  // namespace gatehall::scriptEvents
