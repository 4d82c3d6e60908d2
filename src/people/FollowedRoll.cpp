#include "people/FollowedRoll.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace gatehall {

namespace {

/// How many are asked about anew at once who are not on the screen.
constexpr std::size_t kMostInTurn = 100;

/// After that without a list people are told that there is none yet.
constexpr std::chrono::seconds kLongestSilence{5};

/// For so long answers are gathered, each set of which costs a walk over the list.
constexpr std::chrono::milliseconds kGathering{30};
/// For so long whoever may be refused has no row where the refused are hidden.
constexpr std::chrono::seconds kLongestAwaited{5};
/// After that whoever there was no answer about is asked about again.
constexpr std::chrono::seconds kPause{2};

}  // namespace

FollowedRoll::FollowedRoll(MainLoop& runLoop, EventLoop& events, const HostOptions& options,
                           Log& log, Roll& roll, std::string locale, Follower follower)
    : mRunLoop(runLoop),
      mLog(log),
      mRoll(roll),
      mFollower(std::move(follower)),
      mAdmissions(runLoop, events, options, log, std::move(locale),
                  [this](std::uint64_t key, const std::optional<Admission>& admission) {
                    take(key, admission);
                  }),
      mList(runLoop, events, options, log,
            {.network =
                 [this](const ServiceNetwork&) {
                   mHasSign = true;
                   askAboutAll();
                 },
             .list =
                 [this](const ListedUsers& users) {
                   mKnowsMore = true;
                   mIsAway = false;
                   mRoll.setUsers(users);
                   if (mFollower.back) mFollower.back();
                   if (mFollower.list) mFollower.list(users);
                   ask();
                   await();
                 },
             .changed =
                 [this](const std::vector<ListChange>& changes, const ListedUsers& users) {
                   const auto others = mRoll.change(changes, users);
                   if (mFollower.list) mFollower.list(users);
                   for (const auto key : others) mAsked.erase(key);
                   ask();
                   await();
                 },
             .gone =
                 [this](ListFault fault, const std::string& why) {
                   mKnowsMore = true;
                   mIsAway = true;
                   mAsked.clear();
                   mAdmissions.forget();
                   mRoll.awaitNobody();
                   mLog.diagnostic("The list of users is out of reach: " + why);
                   if (mFollower.gone) mFollower.gone(fault);
                 },
             .back =
                 [this](bool) {
                   mIsAway = false;
                   if (mFollower.back) mFollower.back();
                   ask();
                 }}) {
  after(kLongestSilence, &FollowedRoll::missList);
  askLater();
}

/// The question stays: the list comes as soon as it is answered.
void FollowedRoll::missList() {
  if (mKnowsMore) return;
  if (std::exchange(mHasSign, false)) {
    after(kLongestSilence, &FollowedRoll::missList);
  } else if (mFollower.gone) {
    mFollower.gone(ListFault::NoAnswer);
  }
}

void FollowedRoll::onScreen(std::size_t first, std::size_t last) {
  mFirst = first;
  mLast = last;
  ask();
}

void FollowedRoll::askAboutAll() {
  mAsked.clear();
  ask();
}

void FollowedRoll::confirm(const Person& person, std::function<void(const Person&)> then) {
  const auto row = mRoll.rowOf(*person.user);
  const auto key = row ? mRoll.keyAt(*row) : 0;
  mAdmissions.askNow({key, person.user}, [this, user = person.user,
                                          then = std::move(then)](const Admission& admission) {
    admitTaken();
    then({user, admission});
  });
}

void FollowedRoll::after(std::chrono::duration<double> time, void (FollowedRoll::*then)()) {
  mRunLoop.performAfterDelay(time.count(), [weak = std::weak_ptr<FollowedRoll*>(mSelf), then] {
    const auto self = weak.lock();
    if (self) ((*self)->*then)();
  });
}

void FollowedRoll::take(std::uint64_t key, const std::optional<Admission>& admission) {
  if (admission) {
    mHasAnswer = true;
  } else {
    mAsked.erase(key);
    if (!std::exchange(mAsksAgain, true)) after(kPause, &FollowedRoll::askAgain);
  }
  const auto person = mRoll.find(key);
  if (!person) return;
  if (mTaken.empty()) after(kGathering, &FollowedRoll::admitTaken);
  mTaken.push_back({key, admission.value_or(person->admission)});
}

void FollowedRoll::admitTaken() { mRoll.admit(std::exchange(mTaken, {})); }

void FollowedRoll::askAgain() {
  mAsksAgain = false;
  ask();
}

void FollowedRoll::await() {
  if (!mRoll.awaitsAnswers() || std::exchange(mIsAwaiting, true)) return;
  after(kLongestAwaited, &FollowedRoll::awaitNobody);
}

void FollowedRoll::awaitNobody() {
  mIsAwaiting = false;
  if (std::exchange(mHasAnswer, false)) {
    await();
  } else {
    mRoll.awaitNobody();
  }
}

void FollowedRoll::askLater() { after(mFollower.lasts, &FollowedRoll::askAnew); }

/// About those on the screen. Where the refused are hidden, some of all others take their turn.
void FollowedRoll::askAnew() {
  for (auto row = mFirst; row <= mLast && row < mRoll.size(); ++row) mAsked.erase(mRoll.keyAt(row));
  if (mRoll.hidesRefused()) {
    const auto keys = mRoll.keys();
    if (mNextInTurn >= keys.size()) mNextInTurn = 0;
    const auto end = std::min(keys.size(), mNextInTurn + kMostInTurn);
    for (; mNextInTurn < end; ++mNextInTurn) mAsked.erase(keys[mNextInTurn]);
  }
  ask();
  askLater();
}

/// Whoever is on the screen comes first.
void FollowedRoll::ask() {
  if (mIsAway) return;  // the list, which is asked for ever more seldom, says when it is back
  std::vector<Admissions::Question> questions;
  for (auto row = mFirst; row <= mLast && row < mRoll.size(); ++row) {
    const auto key = mRoll.keyAt(row);
    if (mAsked.insert(key).second) questions.push_back({key, mRoll.at(row).user});
  }
  mAdmissions.askFirst(questions);
  if (!mRoll.hidesRefused()) return;
  questions.clear();
  for (const auto key : mRoll.keys()) {
    if (!mAsked.insert(key).second) continue;
    if (const auto person = mRoll.find(key)) questions.push_back({key, person->user});
  }
  mAdmissions.askLast(questions);
}

}  // namespace gatehall
