#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "service/answers/Question.h"

namespace gatehall::service {

/// How much there may be of one user id and of all.
struct QuestionLimits {
  std::size_t asked = 64;  ///< questions that wait for an answer
  std::size_t askedInAll = 512;
  std::size_t running = 8;        ///< answers that are worked on; one may be for several questions
  std::size_t runningInAll = 32;  ///< a quarter of it for user ids with no other one
  std::chrono::milliseconds longest{20'000};  ///< until a question is answered by a failure
};

/// The questions that clients wait for, answered on threads of their own, so that one that takes
/// long, as it does where a directory is mute, delays no other. Those of each user id come in the
/// order in which they were asked, and user ids take turns. Questions that are equal and asked
/// before an answer to them is begun get the same one; an answer is never begun before its question
/// was asked. All functions may be called on any thread, also from inside what is called back.
class Questions {
 public:
  /// Answers questions, on several threads at once, and raises nothing.
  using Answering = std::function<Answer(const Question&)>;

  /// Called once a question, on any thread, with no lock held; must not throw.
  using Answered = std::function<void(Answer)>;

  /// Starts threads as it needs them.
  explicit Questions(Answering answering, QuestionLimits limits = {});

  /// Waits for the answers that are worked on. Questions that are left are never answered.
  ~Questions();
  Questions(const Questions&) = delete;
  Questions& operator=(const Questions&) = delete;

  /// Asks for a client, a unique name on the bus, of that user id, who may always know its own
  /// login hours: the question's ownUserID is set accordingly. Over a limit it is answered before
  /// this returns, by org.freedesktop.DBus.Error.LimitsExceeded; one that takes too long is by
  /// org.freedesktop.DBus.Error.Timeout.
  void ask(std::uint32_t callerUserID, std::string client, Question question, Answered answered);

  /// Drops a client's questions, which are not answered then, unless that has begun. Its user id's
  /// share of what is worked on is taken until that is done.
  void forget(const std::string& client);

  /// Whether no question waits, none is worked on, and all answers are told.
  bool isIdle() const;

 private:
  struct State;

  const std::unique_ptr<State> mState;
};

}  // namespace gatehall::service
