#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/bus/SdBus.h"
#include "linux/loop/MainLoop.h"
#include "service/bus/Call.h"
#include "service/bus/Inquiries.h"
#include "service/bus/Limits.h"
#include "service/bus/Places.h"
#include "service/bus/Turns.h"
#include "service/bus/Unread.h"
#include "service/bus/Watchers.h"
#include "service/list/History.h"
#include "service/list/Published.h"
#include "service/rights/Authority.h"

namespace gatehall::service {

/// The object com.orvane.Gatehall1 on a connection to the bus, and what its methods answer from. On
/// the connection's thread, and never waits.
class Object {
 public:
  using Moment = std::chrono::steady_clock::time_point;

  /// Raises PlatformException.
  Object(sd_bus& bus, MainLoop& loop, Questions& questions, const Limits& limits);
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  // What the layer has to say.

  void setList(Published state, std::optional<Published> withoutHours);
  void setNoList(std::string reason);
  void setNetwork(NetworkState state);

  /// From now on Watch is refused: the service is about to end.
  void takeNoWatchers() { mTakesNoWatchers = true; }

  /// Whether nobody watches or waits for an answer.
  bool isIdle() const { return mWatchers.areNone() && waiting() == 0; }

  /// How many calls wait for their answers, those among them of which it isn't known who calls.
  std::size_t waiting() const { return mCalls.taken() + mArriving; }

  /// When somebody called last; at first, when the object was made.
  Moment lastCall() const { return mLastCall; }

 private:
  using Waiting = std::shared_ptr<Call>;
  using Method = void (Object::*)(const Waiting& call);
  struct Table;
  /// A call that is answered once it is known whether there is a list.
  struct WithoutList {
    Waiting call;
    Method method;
  };

  template <Method method>
  static int onCall(sd_bus_message* message, void* self, sd_bus_error* error);
  template <auto property>
  static int onGet(sd_bus* bus, const char* path, const char* interface, const char* name,
                   sd_bus_message* reply, void* self, sd_bus_error* error);

  static int onMessage(sd_bus_message* message, void* self, sd_bus_error* error);
  void take(sd_bus_message* message, Method method);
  void answer(const Waiting& call, Method method);
  bool lacksList(const Waiting& call, Method method);
  void answerWithoutList();
  void withHours(const Waiting& call, std::function<void(Hours)> told);
  void drop(const std::string& client);
  void refuse(sd_bus_message* call, const char* error, const char* text);

  // The methods, each when its turn comes.
  void listUsers(const Waiting& call);
  void listChanges(const Waiting& call);
  void watch(const Waiting& call);
  void unwatch(const Waiting& call);
  void canLogIn(const Waiting& call);
  void canLogInByID(const Waiting& call);
  void explain(const Waiting& call);
  void explainByID(const Waiting& call);
  void userByName(const Waiting& call);
  void userByID(const Waiting& call);
  void userByGUID(const Waiting& call);

  // The properties.
  void version(MessageWriter& writer) const { writer.text(GATEHALL_VERSION); }
  void serial(MessageWriter& writer) const { writer.number(mHistories.withoutHours.serial()); }
  void hasParentNetwork(MessageWriter& writer) const { writer.boolean(mNetwork.hasParentNetwork); }
  void parentNetworkExists(MessageWriter& writer) const {
    writer.boolean(mNetwork.parentNetworkExists);
  }
  void networkStatus(MessageWriter& writer) const { writer.number(mNetwork.networkStatus); }

  sd_bus& mBus;
  Authority mAuthority;
  Turns mTurns;
  Places mCalls;
  std::size_t mArriving = 0;  ///< calls of whom it isn't known who calls
  bool mTakesNoWatchers = false;
  Histories mHistories;
  Unread mUnread;
  Watchers mWatchers;
  Inquiries mInquiries;
  NetworkState mNetwork;
  /// Why there is no list; absent: there is one, or it isn't known yet.
  std::optional<std::string> mNoList;
  std::vector<WithoutList> mWithoutList;
  Moment mLastCall = std::chrono::steady_clock::now();
  SdBusSlot mSlot;
  SdBusSlot mFilter;
};

}  // namespace gatehall::service
