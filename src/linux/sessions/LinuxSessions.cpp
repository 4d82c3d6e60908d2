#include "linux/sessions/LinuxSessions.h"

#include <cstdint>
#include <string_view>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/records/AccountLookup.h"
#include "linux/sessions/GraphicalSession.h"
#include "linux/sessions/SdLogin.h"
#include "linux/sessions/SessionNumber.h"

namespace gatehall {

LinuxSessions::LinuxSessions(const HostOptions& options, DirectoryService& directory, Log& log)
    : mIsRunning(options.isRunning), mDirectory(directory), mLog(log) {}

std::optional<Dictionary> LinuxSessions::copyCurrentSession() {
  if (!mIsRunning) return std::nullopt;
  try {
    const auto name = sdLogin::activeSession(graphicalSession::kSeat);
    const auto session = name ? sdLogin::session(*name) : std::nullopt;
    return session ? record(*name, *session) : std::nullopt;
  } catch (const PlatformException& error) {
    mLog.error(error.what());
    return std::nullopt;
  }
}

std::optional<std::vector<std::optional<Dictionary>>> LinuxSessions::copySessionList() {
  std::vector<std::optional<Dictionary>> list;
  if (!mIsRunning) return list;
  try {
    for (const auto& name : sdLogin::sessions()) {
      const auto session = sdLogin::session(name);
      if (!session) {
        list.emplace_back();
      } else if (!session->seat.empty() && graphicalSession::isGraphical(session->type) &&
                 graphicalSession::isUsers(session->kind)) {
        if (auto found = record(name, *session)) list.push_back(std::move(found));
      }
    }
    return list;
  } catch (const PlatformException& error) {
    mLog.error(error.what());
    return std::nullopt;
  }
}

std::optional<Dictionary> LinuxSessions::record(const std::string& name,
                                                const sdLogin::Session& session) {
  const auto number = sessionNumber(name);
  if (!number) {
    mLog.error("Ignoring the session " + name + ": there is no number for its name.");
    return std::nullopt;
  }
  Dictionary record{
      {std::string(session::UserIDKey), static_cast<std::int32_t>(session.userID)},
      {std::string(session::IDKey), *number},
      {std::string(session::LoginDoneKey), graphicalSession::isLoggedIn(session.state)},
  };
  if (const auto user = userName(session.userID)) {
    record.emplace(session::UserNameKey, *user);
  }
  return record;
}

std::optional<std::string> LinuxSessions::userName(std::uint32_t userID) {
  try {
    return accountAttribute(mDirectory, userID, attribute::RecordName);
  } catch (const PlatformException& error) {
    mLog.error("Unable to find the name of user " + std::to_string(userID) + ": " + error.what());
    return std::nullopt;
  }
}

}  // namespace gatehall
