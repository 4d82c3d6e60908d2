#pragma once

#include <chrono>
#include <cstddef>

#include "service/answers/Questions.h"

namespace gatehall::service {

/// What clients may take of the service, each user id and all of them, and how long it waits.
struct Limits {
  std::size_t calls = 128;  ///< that wait for their answer
  std::size_t callsInAll = 1024;
  std::size_t watchers = 64;
  std::size_t watchersInAll = 512;
  /// Watchers that haven't answered a Ping; of others the changes wait. The bus lets a connection
  /// wait for 128 answers, and polkit's are among them.
  std::size_t pings = 12;
  std::size_t pingsInAll = 48;
  QuestionLimits questions{};
  /// What a client was sent and hasn't read, in bytes; a message may go beyond that.
  std::size_t unread = std::size_t{4} << 20U;
  /// Of all; a user id's clients may have a quarter of what is left of it.
  std::size_t unreadInAll = std::size_t{64} << 20U;
  /// For a client to have read what it was sent, before it is dropped.
  std::chrono::milliseconds reading{30'000};
  /// Without a watcher, a call or a question, before the service ends.
  std::chrono::milliseconds idle{60'000};
};

}  // namespace gatehall::service
