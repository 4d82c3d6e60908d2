#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "gatehall/platform/SessionService.h"

namespace gatehall {

/// One graphical session; what is left out is missing from its record.
struct WorldSession {
  std::optional<std::int64_t> id;
  std::optional<std::int32_t> userID;
  std::optional<std::string> userName;
  std::optional<bool> loginDone;
};

/// A world's graphical sessions; at first there is none. From any thread.
class WorldSessions final : public SessionService {
 public:
  /// An entry without a session is one that went away while it was read.
  using List = std::vector<std::optional<WorldSession>>;

  std::optional<Dictionary> copyCurrentSession() override;
  std::optional<std::vector<std::optional<Dictionary>>> copySessionList() override;

  /// Replaces the list; nullopt: the service can't be asked for it.
  void setList(std::optional<List> sessions);
  /// Adds a session at the end.
  void open(WorldSession session);
  /// Replaces what the given session states of the first session with its id. Raises
  /// std::invalid_argument when there is none.
  void change(const WorldSession& session);
  /// Takes the sessions with that id away; the one that owns the console leaves it. False when
  /// there was none.
  bool close(std::int64_t id);

  /// Gives the console to the first session with that id. Raises std::invalid_argument when there
  /// is none.
  void setCurrent(std::int64_t id);
  /// Gives the console to a session that need not be in the list.
  void setCurrent(WorldSession session);
  /// No session owns the console.
  void clearCurrent();

  /// Gives the console to the user's first session whose login is done, else to a new one.
  void bringToFront(std::int32_t userID, std::string_view userName);

 private:
  WorldSession* find(std::int64_t id);

  std::mutex mMutex;
  std::optional<List> mList = List();
  std::variant<std::monostate, std::int64_t, WorldSession> mCurrent;
};

}  // namespace gatehall
