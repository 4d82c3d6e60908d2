#include <optional>
#include <signal.h>

#include "ctl/verbs/Verbs.h"
#include "ctl/watch/Watch.h"
#include "gatehall/linux/loop/LinuxRunLoop.h"
#include "world/script/Script.h"

namespace gatehall::ctl {

namespace {

/// A rebuild follows a second after its cause, and a network's status is measured once a second.
constexpr double kSecondsAfterTheLastEvent = 2.0;

/// From the first line on an interruption waits for the run loop, which ends for it in good order.
class HeldInterruptions {
 public:
  HeldInterruptions() {
    sigset_t interruptions;
    sigemptyset(&interruptions);
    sigaddset(&interruptions, SIGINT);
    sigaddset(&interruptions, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &interruptions, &mBefore);
  }
  ~HeldInterruptions() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
  HeldInterruptions(const HeldInterruptions&) = delete;
  HeldInterruptions& operator=(const HeldInterruptions&) = delete;

 private:
  sigset_t mBefore{};
};

class Watching {
 public:
  Watching(const Host& host, const Request& request)
      : mWatch(std::make_shared<Watch>(host, request)) {
    mWatch->begin();
  }
  ~Watching() { mWatch->end(); }
  Watching(const Watching&) = delete;
  Watching& operator=(const Watching&) = delete;

  Watch* operator->() const { return mWatch.get(); }

 private:
  std::shared_ptr<Watch> mWatch;
};

void letHappen(World& world, const std::vector<WorldEvent>& script, const Watching& watch) {
  for (const auto& event : script) {
    if (watch->isBroken()) return;
    world.runLoop().run(event.after);
    watch->printLog();
    if (event.name.empty()) continue;
    watch->announce(event.name);
    event.happen(world);
  }
  world.runLoop().run(kSecondsAfterTheLastEvent);
  watch->printLog();
}

Answer run(const Host& host, const Request& request) {
  const auto file = request.option("--script");
  if (host.world() == nullptr) {
    if (file) throw UsageError("--script needs a --world to happen in");
  } else if (!file) {
    throw UsageError("in a world nothing happens without a --script");
  }
  std::optional<HeldInterruptions> held;
  if (host.machine() != nullptr) held.emplace();
  const auto script = file ? scriptFromFile(*file) : std::vector<WorldEvent>();
  const Watching watch(host, request);
  if (host.world() != nullptr) {
    letHappen(*host.world(), script, watch);
  } else {
    host.machine()->runLoop().runUntilInterrupted();
    watch->printLog();
  }
  return {.tellsLog = true, .isPrinted = true};
}

}  // namespace

Verb watchVerb() {
  return {
      .name = "watch",
      .options = {{"--script", "EVENTS", "What happens in the world, as steps in this file"}},
      .summary = "That list, and every change of it as it comes",
      .description =
          R"(Shows the users whom a login screen shows, and then a line for every change of that list, when
a login screen is told of it: on this machine until it is interrupted, in a world while the
script's events happen there, in the world's own time.

  +  somebody is shown now        ~  something about somebody is different, and what it was
  -  somebody is shown no longer  =  the list was built anew, and is as it was
  *  the network's status         >  a step of the script        !  what was logged

With --json each of them is one JSON object on a line of its own.)",
      .example = "--world examples/family.world.json watch --script examples/curfew.events.json",
      .goesOn = true,
      .run = run,
  };
}

}  // namespace gatehall::ctl
