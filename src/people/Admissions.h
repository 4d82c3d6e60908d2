#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "gatehall/platform/Log.h"
#include "linux/bus/BusWatch.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"
#include "listing/ListedUser.h"
#include "people/Person.h"

namespace gatehall {

/// Asks gatehalld(8) who may log in (CanLogIn, docs/bus.md), few at once. Never waits. On the main
/// thread, while its loop runs.
class Admissions {
 public:
  /// Somebody to ask about, and a number of the caller's for them.
  struct Question {
    std::uint64_t key = 0;
    std::shared_ptr<const ListedUser> user;
  };

  using Told = std::function<void(std::uint64_t key, const std::optional<Admission>&)>;

  /// "told" is called with each answer, in whatever order they come; absent: there was none.
  /// The sentences are in the language of that locale's name.
  Admissions(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
             std::string locale, Told told);
  Admissions(const Admissions&) = delete;
  Admissions& operator=(const Admissions&) = delete;

  /// Asks about these, before whoever waits to be asked about. Of the same key the question that
  /// comes last counts.
  void askFirst(const std::vector<Question>& questions);
  /// The same, behind whoever waits.
  void askLast(const std::vector<Question>& questions);
  /// Asks at once, and calls that with the answer, which is told as well; before long in any case,
  /// with Unknown when there is none.
  void askNow(const Question& question, std::function<void(const Admission&)> then);

  /// Nobody is asked about any more who wasn't yet.
  void forget();

 private:
  void askNext();
  void ask(const Question& question, std::chrono::microseconds limit,
           std::function<void(const Admission&)> then);

  BusWatch mBus;
  const std::string mLocale;
  const Told mTold;
  bool mIsListening = false;           ///< the bus is there
  std::deque<std::uint64_t> mOrder{};  ///< who waits; a key may stand in it twice
  std::unordered_map<std::uint64_t, Question> mWaiting{};
  std::unordered_map<std::uint64_t, std::uint64_t> mAsked{};  ///< the latest question about each
  std::uint64_t mLastQuestion = 0;
  std::size_t mUnanswered = 0;
};

}  // namespace gatehall
