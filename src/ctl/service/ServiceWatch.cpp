#include "ctl/service/ServiceWatch.h"

#include <thread>
#include <utility>

#include "ctl/watch/WatchEvents.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/Platform.h"

namespace gatehall::ctl {

namespace {

Date now() { return platform().clock().now(); }

}  // namespace

ServiceWatch::ServiceWatch(const Host& host, const Request& request, HostOptions options)
    : mHost(host),
      mDisplay(host, request),
      mOptions(std::move(options)),
      mRunLoop(std::this_thread::get_id(), [this](EventLoop& events) {
        mList = std::make_unique<FollowedList>(mRunLoop, events, mOptions, mHost.log(), follower());
      }) {}

void ServiceWatch::run() {
  mRunLoop.runUntilInterrupted();
  mList.reset();
  if (!mFailure.empty()) throw PlatformException("gatehalld can't be asked: " + mFailure);
}

ListFollower ServiceWatch::follower() {
  return {.network =
              [this](const ServiceNetwork& network) {
                const bool isNews =
                    network.hasParentNetwork || (mNetwork && mNetwork->hasParentNetwork);
                mNetwork = network;
                if (!mHasBegun || !isNews) return;
                addNetwork();
                print();
              },
          .list = [this](const ListedUsers& users) { begin(users); },
          .changed =
              [this](const std::vector<ListChange>& changes, const ListedUsers& users) {
                mDisplay.change(now(), changes, users);
                print();
              },
          .gone = [this](ListFault /*fault*/, const std::string& why) { gone(why); },
          .back =
              [this](bool hasCaughtUp) {
                mDisplay.add(watchEvent::serviceBack(now(), hasCaughtUp));
                print();
              }};
}

void ServiceWatch::begin(const ListedUsers& users) {
  mHasBegun = true;
  mDisplay.begin(now(), users);
  if (mNetwork && mNetwork->hasParentNetwork) addNetwork();
  print();
}

void ServiceWatch::gone(const std::string& why) {
  if (mHasBegun) {
    mDisplay.add(watchEvent::serviceGone(now(), why));
    print();
    return;
  }
  mFailure = why;
  mRunLoop.stop();
}

void ServiceWatch::addNetwork() {
  mDisplay.add(watchEvent::network(now(), mNetwork->status, mNetwork->parentNetworkExists));
}

void ServiceWatch::print() {
  for (const auto& entry : mHost.log().takeEntries()) {
    mDisplay.add(watchEvent::logged(now(), entry));
  }
  if (!mDisplay.print()) mRunLoop.stop();
}

}  // namespace gatehall::ctl
