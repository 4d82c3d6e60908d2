#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "linux/ldap/client/Connection.h"
#include "linux/ldap/client/Dialogue.h"
#include "linux/ldap/client/Pages.h"

namespace gatehall::ldap {

/// Searches that run over a connection (Connection::search). What was begun goes on until all are
/// answered, or the connection is lost.
class Searches {
 public:
  Searches(const Dialogue& dialogue, std::span<const Search> searches, const Limits& limits,
           std::optional<std::int32_t> pageSize, const Connection::Sink& sink);

  /// Runs them, once.
  std::vector<Result> run();

 private:
  Deadline answerDeadline() const;
  std::string howFar(bool isLate, Deadline deadline) const;
  void sendMore();
  bool send(std::size_t index);
  std::optional<int> request(const Search& search, const Pages* pages) const;
  void takeEntry(std::size_t index, LDAPMessage* message);
  void takeReference(std::size_t index, LDAPMessage* message);
  void takeResult(std::size_t index, LDAPMessage* message);
  std::string cookieOf(const Dialogue::Answer& answer) const;

  const Dialogue& mDialogue;
  const std::span<const Search> mSearches;
  const Limits& mLimits;
  const std::optional<std::int32_t> mPageSize;
  const Connection::Sink& mSink;
  std::vector<Result> mResults;
  std::unordered_map<int, std::size_t> mRunning;  ///< places of searches, by operation
  std::size_t mNext = 0;
  std::vector<std::size_t> mUnsent;  ///< begun, and waiting for the connection; the last goes first
  bool mHasBegun = false;            ///< a part of an answer has come
  std::size_t mEntries = 0;          ///< that have come, to all of them
  std::optional<Pages> mPages;       ///< a server keeps the place of one paged search a connection
  std::vector<Attribute> mRoom;      ///< for the attributes of an entry
};

}  // namespace gatehall::ldap
