#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <string_view>
#include <unistd.h>

#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/Platform.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/HeldInterruptions.h"
#include "linux/process/ProcessStart.h"
#include "service/answers/Answers.h"
#include "service/bus/Front.h"
#include "service/bus/Limits.h"
#include "service/list/Publisher.h"

/// The layer as a service on the system bus, gatehalld(8). The main thread runs the layer, another
/// one the connection to the clients.

namespace {

constexpr int kWrongUsage = 2;

/// Nothing is taken from the arguments.
int explain(std::string_view word) {
  if (word == "--version") return std::puts("gatehalld " GATEHALL_VERSION) < 0;
  if (word == "--help") {
    return std::puts(
               "usage: gatehalld\n\n"
               "Serves com.orvane.Gatehall1 on the system bus, which starts it, gatehalld(8).") < 0;
  }
  std::fputs("usage: gatehalld\n", stderr);
  return kWrongUsage;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 1) return explain(argc == 2 ? argv[1] : "");
  gatehall::distrustCaller();
  // Each list is built on a thread of its own, and its memory is the next one's.
  mallopt(M_ARENA_MAX, 1);
  alarm(0);  // a service has no end
  const gatehall::HeldInterruptions held;
  const auto platform =
      std::make_shared<gatehall::LinuxPlatform>(gatehall::LinuxOptions(), "gatehalld");
  gatehall::Platform::install(platform);
  try {
    const gatehall::HostOptions options;
    gatehall::service::Front front(
        options, gatehall::service::Limits(), platform->log(),
        gatehall::service::Answers(gatehall::service::hostOf(*platform, options)),
        [&] { platform->runLoop().stop(); });
    platform->runLoop().descriptor();  // from now on no change of the machine is missed
    front.begin();
    const auto publisher = std::make_shared<gatehall::service::Publisher>(front.audience());
    publisher->begin();
    platform->runLoop().runUntilInterrupted();
    publisher->end();
    if (front.hasFailed()) return EXIT_FAILURE;
  } catch (const gatehall::PlatformException& failure) {
    platform->log().error(failure.what());
    return EXIT_FAILURE;
  }
  gatehall::Platform::install(nullptr);
  return EXIT_SUCCESS;
}
