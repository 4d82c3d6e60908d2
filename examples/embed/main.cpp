// A host of the library at its smallest: it shows the list of users in a terminal, as a login
// screen would on a screen, and again whenever it changes. Its main loop is GLib's, which drives
// the library's own through a file descriptor; a toolkit's loop can do the same.
//
// usage: embed [ROOT]      ROOT: a folder that stands for / (of the machine's files)

#include <cstdio>
#include <exception>
#include <gatehall/access/NetworkStatus.h>
#include <gatehall/access/UserAccess.h>
#include <gatehall/linux/LinuxPlatform.h>
#include <glib-unix.h>
#include <memory>
#include <string>

namespace {

using namespace gatehall;

/// What a login screen draws: here, lines of text.
class Screen final : public UserAccessTarget {
 public:
  /// On the main thread, from its run loop.
  void visibleUsersListChanged() override {
    try {
      show(UserAccess::sharedUserAccess()->visibleUsersList());
    } catch (const PlatformException& failure) {
      std::printf("no list: %s\n", failure.what());
    }
    std::fflush(stdout);
  }

 private:
  static void show(const std::shared_ptr<CachedUserList>& list) {
    if (!list) return;
    std::printf("%llu users\n", static_cast<unsigned long long>(list->count()));
    for (const auto& user : *list) {
      std::printf("  %s%s\n", user->longName().value_or("?").c_str(),
                  user->isCurrentUser() ? " (here)" : "");
    }
  }
};

gboolean dispatch(gint, GIOCondition, gpointer runLoop) {
  static_cast<LinuxRunLoop*>(runLoop)->dispatch();
  return G_SOURCE_CONTINUE;
}

gboolean quit(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;
}

void run(const std::string& root) {
  LinuxOptions options;
  options.setRoot(root);
  const auto host = std::make_shared<LinuxPlatform>(options, "embed");
  Platform::install(host);

  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  g_unix_signal_add(SIGINT, quit, loop);
  g_unix_signal_add(SIGTERM, quit, loop);
  // Asked for its descriptor, the library begins to listen to the machine: before the first list is
  // read, so that no change falls in between.
  g_unix_fd_add(host->runLoop().descriptor(), G_IO_IN, dispatch, &host->runLoop());

  const auto access = UserAccess::sharedUserAccess();
  const auto screen = std::make_shared<Screen>();
  screen->visibleUsersListChanged();
  access->addTarget(screen);
  // A network directory that comes or goes changes who can be shown; asking for it is the host's.
  NetworkStatus::sharedNetworkStatus()->addTarget(access);

  g_main_loop_run(loop);
  g_main_loop_unref(loop);
}

}  // namespace

int main(int argc, char** argv) {
  int status = 0;
  try {
    run(argc > 1 ? argv[1] : "");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "embed: %s\n", failure.what());
    status = 1;
  }
  // The library's threads end before the program does.
  Platform::install(nullptr);
  return status;
}
