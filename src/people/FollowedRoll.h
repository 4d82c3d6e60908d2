#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "following/FollowedList.h"
#include "people/Admissions.h"
#include "people/Person.h"
#include "people/Roll.h"

namespace gatehall {

/// Keeps a roll as gatehalld(8) has its list, and asks it whether whoever is on the screen may log
/// in; about everybody where the refused are hidden, who have a row then once it is known, or
/// nothing is for seconds. It asks anew about those whom the list tells
/// otherwise, about all when the network changes, and now and then: of another policy nobody tells.
/// Without an answer what was known stays, and it asks again. Never waits. On the main thread,
/// while its loop runs.
class FollowedRoll {
 public:
  struct Follower {
    /// The list as a whole, at first and whenever it is another. The roll has it already.
    std::function<void(const ListedUsers& users)> list{};
    /// The service doesn't answer, or hasn't for seconds.
    std::function<void(ListFault fault)> gone{};
    std::function<void()> back{};  ///< it answers: at first, and after it was gone
    std::chrono::duration<double> lasts = std::chrono::seconds(20);  ///< for which an answer counts
  };

  /// The roll lives longer. Sentences are in the language of that locale's name.
  FollowedRoll(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
               Roll& roll, std::string locale, Follower follower);
  FollowedRoll(const FollowedRoll&) = delete;
  FollowedRoll& operator=(const FollowedRoll&) = delete;

  /// The rows from the first up to the last are on the screen.
  void onScreen(std::size_t first, std::size_t last);

  /// Nothing that was answered counts any more: the screen is there for somebody else, later.
  void askAboutAll();

  /// Asks anew, and calls that with what is known then, before long: before somebody is chosen.
  void confirm(const Person& person, std::function<void(const Person&)> then);

 private:
  void ask();
  void askAnew();
  void missList();
  void askLater();
  void askAgain();
  void await();
  void awaitNobody();
  void take(std::uint64_t key, const std::optional<Admission>& admission);
  void admitTaken();
  void after(std::chrono::duration<double> time, void (FollowedRoll::*then)());

  MainLoop& mRunLoop;
  Log& mLog;
  Roll& mRoll;
  const Follower mFollower;
  std::size_t mFirst = 0;
  std::size_t mLast = 0;
  std::unordered_set<std::uint64_t> mAsked{};  ///< since something changed
  bool mHasSign = false;               ///< the service answered something since it was missed
  bool mKnowsMore = false;             ///< the list, or why there is none
  bool mIsAway = false;                ///< the service, after it was there or failed
  bool mAsksAgain = false;             ///< about those without an answer, soon
  bool mIsAwaiting = false;            ///< there is an end of it
  bool mHasAnswer = false;             ///< since there was to be an end last
  std::vector<Roll::Answer> mTaken{};  ///< that the roll is told together
  std::size_t mNextInTurn = 0;         ///< of everybody, where the refused are hidden
  Admissions mAdmissions;
  FollowedList mList;
  /// Tasks that come later hold it weakly: they may come after this is gone.
  const std::shared_ptr<FollowedRoll*> mSelf = std::make_shared<FollowedRoll*>(this);
};

}  // namespace gatehall
