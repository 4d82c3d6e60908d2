#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "gatehall/base/PlatformException.h"
#include "gatehall/linux/LinuxPlatform.h"
#include "gatehall/platform/Platform.h"
#include "linux/files/HostOptions.h"
#include "menu/window/MenuApplication.h"
#include "people/Words.h"

/// The small window of a session from which users are switched, gatehall-menu(1).

namespace {

constexpr int kWrongUsage = 2;
constexpr const char* kUsage = "usage: gatehall-menu [--toggle]\n";

int explain(std::string_view word) {
  if (word == "--version") return std::puts("gatehall-menu " GATEHALL_VERSION) < 0;
  if (word == "--help") {
    std::fputs(kUsage, stdout);
    return std::puts(
               "\nShows whom the login screen shows, and switches to whom you choose, "
               "gatehall-menu(1).\n\n"
               "Options:\n"
               "  --toggle   close the window if it is open, open it if not\n"
               "  --help     print this\n"
               "  --version  print the version") < 0;
  }
  std::fputs(kUsage, stderr);
  return kWrongUsage;
}

const char* variable(const char* name) { return std::getenv(name); }

}  // namespace

int main(int argc, char** argv) {
  const std::string_view word = argc == 2 ? argv[1] : "";
  if (argc > 2 || (argc == 2 && word != "--toggle")) return explain(word);
  // No graphics driver is needed for a list.
  setenv("GSK_RENDERER", "cairo", 0);
  const auto platform =
      std::make_shared<gatehall::LinuxPlatform>(gatehall::LinuxOptions(), "gatehall-menu");
  gatehall::Platform::install(platform);
  int status = EXIT_FAILURE;
  try {
    gatehall::HostOptions options;
    if (const char* address = variable("DBUS_SYSTEM_BUS_ADDRESS")) {
      options.systemBusAddress = address;
    }
    const auto menu = Glib::make_refptr_for_instance(new gatehall::menu::MenuApplication(
        options, platform->log(), gatehall::wordsFor(variable, GATEHALL_LOCALES), GATEHALL_SWITCH));
    status = menu->run(argc, argv);
  } catch (const gatehall::PlatformException& failure) {
    platform->log().error(failure.what());
    std::fprintf(stderr, "gatehall-menu: %s\n", failure.what());
  }
  gatehall::Platform::install(nullptr);
  return status;
}
