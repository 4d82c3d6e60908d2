// One lookup by user id, GUID and name in a world of 70,000 users against the same in one of 100: a
// ratio of 1 means that a lookup takes no longer in the larger directory. The same number of users,
// spread evenly, is looked up in both, so that it is not the processor's caches that are compared.

#include <cstdlib>

#include "bench/Figures.h"
#include "bench/LargeWorld.h"
#include "gatehall/users/UserLists.h"
#include "gatehall/users/UserLookup.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

constexpr unsigned kFew = 100;
constexpr unsigned kMany = 70000;

constexpr unsigned kCalls = 2000;
constexpr int kRuns = 15;

void require(const auto& found) {
  if (!found) std::abort();
}

/// The two machines, of which one is installed for each sample.
struct Machines {
  std::shared_ptr<World> few = installWorld(kFew);
  std::shared_ptr<World> many = installWorld(kMany);
};

/// Reports a look-up of the user of that number.
void measure(const Machines& machines, const std::string& name, auto lookUp) {
  const auto microseconds = [&](const std::shared_ptr<World>& world, unsigned users) {
    Platform::install(world);
    const auto round = [&](unsigned call) { lookUp(call * 7 % kFew * (users / kFew)); };
    secondsPerCall(kFew, round);
    return secondsPerCall(kCalls, round) * 1e6;
  };
  const auto taken = inTurns(
      kRuns, [&] { return microseconds(machines.many, kMany); },
      [&] { return microseconds(machines.few, kFew); });
  report({.name = name,
          .unit = "µs",
          .ours = taken.ours,
          .theirs = taken.theirs,
          .peer = "of 100 users",
          .aim = 1.5});
}

}  // namespace

int main() {
  const Machines machines;
  measure(machines, "lookup-by-guid",
          [](unsigned number) { require(cachedUserForGUID(userGUID(number))); });
  measure(machines, "lookup-by-name", [](unsigned number) {
    require(searchNodeUsersForName("user" + std::to_string(number), kNoUserID, 1)->lastObject());
  });
  measure(machines, "lookup-by-uid", [](unsigned number) {
    require(cachedUserForUID(static_cast<std::int32_t>(1000 + number)));
  });
  Platform::install(nullptr);
}
