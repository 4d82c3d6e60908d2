#include <optional>

#include "ctl/service/ServiceWatch.h"
#include "ctl/verbs/Verbs.h"
#include "ctl/watch/Watch.h"
#include "gatehall/linux/loop/LinuxRunLoop.h"
#include "linux/loop/HeldInterruptions.h"
#include "world/script/Script.h"

namespace gatehall::ctl {

namespace {

/// A rebuild follows a second after its cause, and a network's status is measured once a second.
constexpr double kSecondsAfterTheLastEvent = 2.0;

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
  if (request.has("--service")) {
    if (host.world() != nullptr) throw UsageError("no service runs in a world");
    if (!host.options().isRunning) throw UsageError("no service runs on a machine under a folder");
    if (file) throw UsageError("--service and --script exclude each other");
    const HeldInterruptions held;
    ServiceWatch(host, request, host.options()).run();
    return {.tellsLog = true};
  }
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
  return {.tellsLog = true};
}

}  // namespace

Verb watchVerb() {
  return {
      .name = "watch",
      .options = {{"--script", "EVENTS", "What happens in the world, as steps in this file"},
                  {"--service", "",
                   "The list that gatehalld tells everybody, in place of one's own"}},
      .summary = "That list, and every change of it as it comes",
      .description =
          R"(Shows the users whom a login screen shows, and then a line for every change of that list, when
a login screen is told of it: on this machine until it is interrupted, in a world while the
script's events happen there, in the world's own time.

  +  somebody is shown now        ~  what is different about somebody
  -  somebody is shown no longer  =  the list was built anew, and is as it was
  *  the network's status         >  a step of the script
  !  what was logged

With --service it is the list that gatehalld(8) tells login screens over the system bus, whoever
runs it. When the service is gone, that is a line, and another one when it is back and the list has
caught up, or was read anew: what changed meanwhile comes next.

With --json each of them is one JSON object on a line of its own.)",
      .example = "--world examples/family.world.json watch --script examples/curfew.events.json",
      .goesOn = true,
      .run = run,
  };
}

}  // namespace gatehall::ctl
