#include <cstdio>
#include <gatehall/access/UserAccess.h>
#include <gatehall/world/file/WorldPlatform.h>

/// Prints the list of users that a login screen shows in a world, after waiting for it to be built.
int main(int argc, char** argv) {
  using namespace gatehall;
  try {
    const auto world = platformOfWorldFile(argc > 1 ? argv[1] : "");
    Platform::install(world);
    const auto access = UserAccess::sharedUserAccess();
    access->buildVisibleUsersList();
    letTimePass(*world, 0);
    for (const auto& user : *access->visibleUsersList()) {
      std::puts(user->shortName().value_or("?").c_str());
    }
    return 0;
  } catch (const WorldError& error) {
    std::puts(error.what());
    return 1;
  }
}
