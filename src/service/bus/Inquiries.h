#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "linux/loop/MainLoop.h"
#include "service/answers/Questions.h"
#include "service/bus/Call.h"
#include "service/rights/Authority.h"

namespace gatehall::service {

/// Calls about one account: what is asked for them, by what the caller may know, and the answers,
/// which come from other threads. On the connection's thread.
class Inquiries {
 public:
  /// The questions may have something to tell after this is gone; the loop, which outlives them,
  /// runs no more then.
  Inquiries(MainLoop& loop, Authority& authority, Questions& questions)
      : mLoop(loop), mAuthority(authority), mQuestions(questions) {}

  /// Answers everybody; whoever may not know hours of others has an answer without them.
  void answer(const std::shared_ptr<Call>& call, Question question);

  /// Answers who is the account's user, and who may have it explained.
  void explain(const std::shared_ptr<Call>& call, Question question);

  /// Nobody waits for a client's answers any more.
  void forget(const std::string& client);

 private:
  using Told = std::function<void(const Answer&)>;

  struct Asked {
    std::shared_ptr<Call> call;
    Told told;
  };

  void ask(const std::shared_ptr<Call>& call, const Question& question, Told told);
  void tell(std::uint64_t number, const Answer& answer);
  void explainAll(const std::shared_ptr<Call>& call, Question question);
  void explainOthers(const std::shared_ptr<Call>& call, const Question& question);

  MainLoop& mLoop;
  Authority& mAuthority;
  Questions& mQuestions;
  std::map<std::uint64_t, Asked> mAsked;  ///< by number
  std::uint64_t mLast = 0;
};

}  // namespace gatehall::service
