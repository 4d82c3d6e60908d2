#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>

#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/Platform.h"
#include "greeter/Greeter.h"
#include "greeter/Toolkit.h"
#include "greeter/lightdm/LightDM.h"
#include "greeter/settings/GreeterSettings.h"
#include "linux/files/FaultLog.h"
#include "linux/files/HostOptions.h"
#include "people/Words.h"

/// The login screen, gatehall-greeter(1). LightDM starts it, as a user without rights of its own:
/// the list comes from gatehalld(8), passwords are for PAM.

namespace {

constexpr int kWrongUsage = 2;

/// Nothing is taken from the arguments.
int explain(std::string_view word) {
  if (word == "--version") return std::puts("gatehall-greeter " GATEHALL_VERSION) < 0;
  if (word == "--help") {
    return std::puts(
               "usage: gatehall-greeter\n\n"
               "A login screen, which LightDM starts, gatehall-greeter(1).") < 0;
  }
  std::fputs("usage: gatehall-greeter\n", stderr);
  return kWrongUsage;
}

/// What is typed here is to be in no core file, and nothing else of this user's may look into the
/// process. Where that can't be had, people log in all the same.
void keepSecrets() {
  const rlimit none{};
  const bool isKept = setrlimit(RLIMIT_CORE, &none) == 0 && prctl(PR_SET_DUMPABLE, 0) == 0;
  if (!isKept) std::perror("gatehall-greeter: what is typed may get into a core file");
}

/// The signals that end it are for the loop, whatever thread is begun before that runs.
void blockSignals() {
  sigset_t ends{};
  sigemptyset(&ends);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&ends, signal);
  sigprocmask(SIG_BLOCK, &ends, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 1) return explain(argc == 2 ? argv[1] : "");
  keepSecrets();
  blockSignals();
  std::setlocale(LC_ALL, "");
  const auto platform =
      std::make_shared<gatehall::LinuxPlatform>(gatehall::LinuxOptions(), "gatehall-greeter");
  gatehall::Platform::install(platform);
  auto& log = platform->log();
  try {
    gatehall::HostOptions options;
    gatehall::FaultLog faults(log);
    const auto settings = gatehall::greeter::GreeterSettings::read(options, faults);
    gatehall::greeter::setEnvironment(settings.scale);
    gatehall::greeter::beginFonts();
    if (const char* const address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS")) {
      options.systemBusAddress = address;
    }
    const auto words = gatehall::wordsFor(
        [](const char* name) -> const char* { return std::getenv(name); }, GATEHALL_LOCALES);
    gatehall::greeter::LightDM lightdm(log);
    gatehall::greeter::Greeter greeter(lightdm, words, settings, options, log);
    greeter.run();
  } catch (const std::exception& failure) {
    log.error(failure.what());
    std::fprintf(stderr, "gatehall-greeter: %s\n", failure.what());
    return EXIT_FAILURE;
  }
  gatehall::Platform::install(nullptr);
  return EXIT_SUCCESS;
}
