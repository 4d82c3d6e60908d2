#include "greeter/machine/LoggedIn.h"

#include <limits>
#include <utility>

#include "gatehall/base/Value.h"

namespace gatehall::greeter {

namespace {

constexpr const char* kService = "org.freedesktop.login1";
constexpr const char* kPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";

/// The objects of the sessions in ListSessions' answer, whose entries are: name, user id, user
/// name, seat, object.
std::optional<std::deque<std::string>> sessionsIn(const BusAnswer& answer) {
  const auto* list =
      answer.error.empty() && answer.values.size() == 1 ? answer.values.front().array() : nullptr;
  if (list == nullptr) return std::nullopt;
  std::deque<std::string> sessions;
  for (const auto& each : *list) {
    const auto* entry = each.array();
    const auto* path = entry != nullptr && entry->size() == 5 ? entry->back().string() : nullptr;
    if (path == nullptr) return std::nullopt;
    sessions.push_back(*path);
  }
  return sessions;
}

const std::string* textIn(const Dictionary& properties, const char* name) {
  const auto found = properties.find(name);
  return found == properties.end() ? nullptr : found->second.string();
}

/// Of the session's property "User": the user id, and an object.
std::optional<std::uint32_t> ownerIn(const Dictionary& properties) {
  const auto found = properties.find("User");
  const auto* entry = found == properties.end() ? nullptr : found->second.array();
  const auto uid =
      entry != nullptr && !entry->empty() ? entry->front().integerValue() : std::nullopt;
  if (!uid || *uid < 0 || *uid >= std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(*uid);
}

}  // namespace

LoggedIn::LoggedIn(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
                   std::function<void()> changed)
    : mBus(runLoop, events, options, log),
      mLimit(options.callTimeout),
      mChanged(std::move(changed)) {
  mBus.follow(kService, [this](bool) { ask(); });
  mBus.listen(kService,
              "type='signal',path='/org/freedesktop/login1',"
              "interface='org.freedesktop.login1.Manager'",
              [this](const BusSignal& signal) {
                if (signal.member == "SessionNew" || signal.member == "SessionRemoved") ask();
              });
  mBus.start([this](bool) { ask(); }, [this](const std::string&) { ask(); });
}

void LoggedIn::ask() {
  mBus.call({kService, kPath, kManager, "ListSessions"}, {}, mLimit,
            [this, question = ++mQuestion](const BusAnswer& answer) {
              if (question == mQuestion) listed(answer);
            });
}

void LoggedIn::listed(const BusAnswer& answer) {
  auto sessions = sessionsIn(answer);
  if (!sessions) return know(std::nullopt);
  mSessions = std::move(*sessions);
  mFound.clear();
  askNext();
}

/// One after another: there may be more than the bus lets anybody ask about at once.
void LoggedIn::askNext() {
  if (mSessions.empty()) return know(std::move(mFound));
  const auto path = std::move(mSessions.front());
  mSessions.pop_front();
  mBus.call({kService, path, "org.freedesktop.DBus.Properties", "GetAll"},
            {"org.freedesktop.login1.Session"}, mLimit,
            [this, question = mQuestion](const BusAnswer& answer) {
              if (question == mQuestion) told(answer);
            });
}

void LoggedIn::told(const BusAnswer& answer) {
  // One that went away meanwhile; of that logind tells.
  if (answer.error == "org.freedesktop.DBus.Error.UnknownObject") return askNext();
  const auto* properties = answer.error.empty() && answer.values.size() == 1
                               ? answer.values.front().dictionary()
                               : nullptr;
  if (properties == nullptr) return know(std::nullopt);
  const auto* kind = textIn(*properties, "Class");
  const auto* state = textIn(*properties, "State");
  if (kind == nullptr || state == nullptr) return know(std::nullopt);
  if (*kind == "user" && *state != "closing") {
    const auto owner = ownerIn(*properties);
    if (!owner) return know(std::nullopt);
    mFound.insert(*owner);
  }
  askNext();
}

void LoggedIn::know(std::optional<UserIDs> users) {
  ++mQuestion;
  if (users == mUsers) return;
  mUsers = std::move(users);
  mChanged();
}

}  // namespace gatehall::greeter
