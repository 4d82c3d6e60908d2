#include "world/WorldSessions.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace gatehall {

namespace {

Dictionary recordOf(const WorldSession& session) {
  Dictionary record;
  if (session.userID) record.emplace(session::UserIDKey, *session.userID);
  if (session.id) record.emplace(session::IDKey, *session.id);
  if (session.userName) record.emplace(session::UserNameKey, *session.userName);
  if (session.loginDone) record.emplace(session::LoginDoneKey, *session.loginDone);
  return record;
}

}  // namespace

std::optional<Dictionary> WorldSessions::copyCurrentSession() {
  const std::scoped_lock lock(mMutex);
  if (const auto* session = std::get_if<WorldSession>(&mCurrent)) return recordOf(*session);
  if (const auto* id = std::get_if<std::int64_t>(&mCurrent)) {
    if (const auto* session = find(*id)) return recordOf(*session);
  }
  return std::nullopt;
}

std::optional<std::vector<std::optional<Dictionary>>> WorldSessions::copySessionList() {
  const std::scoped_lock lock(mMutex);
  if (!mList) return std::nullopt;
  std::vector<std::optional<Dictionary>> records;
  for (const auto& session : *mList) {
    records.push_back(session ? std::optional(recordOf(*session)) : std::nullopt);
  }
  return records;
}

void WorldSessions::setList(std::optional<List> sessions) {
  const std::scoped_lock lock(mMutex);
  mList = std::move(sessions);
}

void WorldSessions::open(WorldSession session) {
  const std::scoped_lock lock(mMutex);
  if (!mList) mList.emplace();
  mList->emplace_back(std::move(session));
}

void WorldSessions::change(const WorldSession& session) {
  const std::scoped_lock lock(mMutex);
  auto* present = session.id ? find(*session.id) : nullptr;
  if (present == nullptr)
    throw std::invalid_argument("no session " + std::to_string(session.id.value_or(0)));
  if (session.userID) present->userID = session.userID;
  if (session.userName) present->userName = session.userName;
  if (session.loginDone) present->loginDone = session.loginDone;
}

bool WorldSessions::close(std::int64_t id) {
  const std::scoped_lock lock(mMutex);
  const auto hasID = [&](const auto& session) { return session && session->id == id; };
  return mList && std::erase_if(*mList, hasID) != 0;
}

void WorldSessions::setCurrent(std::int64_t id) {
  const std::scoped_lock lock(mMutex);
  if (find(id) == nullptr) throw std::invalid_argument("no session " + std::to_string(id));
  mCurrent = id;
}

void WorldSessions::setCurrent(WorldSession session) {
  const std::scoped_lock lock(mMutex);
  mCurrent = std::move(session);
}

void WorldSessions::clearCurrent() {
  const std::scoped_lock lock(mMutex);
  mCurrent = std::monostate();
}

void WorldSessions::bringToFront(std::int32_t userID, std::string_view userName) {
  const std::scoped_lock lock(mMutex);
  if (!mList) mList.emplace();
  std::int64_t largestID = 0;
  for (const auto& session : *mList) {
    if (!session || !session->id) continue;
    largestID = std::max(largestID, *session->id);
    if (session->userID == userID && session->loginDone == true) {
      mCurrent = *session->id;
      return;
    }
  }
  mCurrent = largestID + 1;
  mList->push_back(WorldSession{largestID + 1, userID, std::string(userName), true});
}

WorldSession* WorldSessions::find(std::int64_t id) {
  if (!mList) return nullptr;
  const auto found = std::ranges::find_if(
      *mList, [&](const auto& session) { return session && session->id == id; });
  return found == mList->end() ? nullptr : &**found;
}

}  // namespace gatehall
