#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "gatehall/base/Value.h"
#include "listing/ListChange.h"
#include "listing/ListedUser.h"

struct sd_bus;
struct sd_bus_message;

namespace gatehall {

/// gatehalld's interface on a bus of a test's own, with a list that the test changes. It is there
/// as long as the object lives.
class ServiceStandIn {
 public:
  ServiceStandIn(const std::string& address, ListedUsers users, std::uint64_t serial);
  ~ServiceStandIn();
  ServiceStandIn(const ServiceStandIn&) = delete;
  ServiceStandIn& operator=(const ServiceStandIn&) = delete;

  /// Publishes another list. Those who watch are told of it only where that is said.
  enum class Tells { Watchers, Nobody };
  void publish(ListedUsers users, Tells tells = Tells::Watchers);

  /// Says that more has changed than a signal holds.
  void publishTooMuch(ListedUsers users);

  /// Says that something has changed to those who watch, and that to nobody any more.
  void dropWatchers(ListedUsers users);

  /// Sends watchers a signal of changes that are for no list that was ever there.
  void sendNonsense();

  /// Tells how the network directories answer, when somebody asks and at once.
  void setNetwork(bool hasParent, bool exists, std::int32_t status);

  /// The most users of a page.
  std::atomic<std::uint32_t> pageLength = 1000;

  /// Called on the stand-in's own thread before it looks for a page, and before it sends one.
  std::function<void()> beforePage;
  std::function<void()> beforeAnswer;

  /// Answers ListUsers with NoList.
  std::atomic<bool> hasNoList = false;

  /// How Explain, CanLogIn and the two by number answer: by the name or the number, none is known
  /// by others. Errors are Explain's.
  struct Explaining {
    std::map<std::string, Dictionary> answers{};
    std::string error{};           ///< in place of an answer
    std::string loginError{};      ///< in place of CanLogIn's
    std::string passwordNeeded{};  ///< the error without it, when one is needed
  };
  void explain(Explaining explaining);

  /// What was called so far, by name.
  std::vector<std::string> calls() const;

 private:
  struct Methods;
  friend struct Methods;
  struct State {
    std::uint64_t serial;
    ListedUsers users;
  };

  void run();
  void onThread(std::function<void()> task);
  void send(std::uint64_t since, bool isComplete, const std::vector<ListChange>& changes);

  sd_bus* mBus = nullptr;
  std::deque<State> mStates;  ///< the newest last
  std::vector<std::string> mWatchers;
  bool mHasParent = false;
  bool mExists = false;
  std::int32_t mStatus = 2;
  Explaining mExplaining;

  mutable std::mutex mMutex;  ///< guards what follows
  std::vector<std::function<void()>> mTasks;
  std::vector<std::string> mCalls;

  std::atomic<bool> mIsOver = false;
  std::thread mThread;
};

}  // namespace gatehall
