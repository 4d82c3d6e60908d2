// localNodeUsers, sorted, for 70,000 users, against the same list sorted by one comparison of long
// names a pair; and its growth from 1,000 users against that of n log n.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "bench/Figures.h"
#include "bench/LargeWorld.h"
#include "gatehall/users/UserLists.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

constexpr int kRuns = 9;

/// The machine, installed for one sample.
class Installed {
 public:
  explicit Installed(const std::shared_ptr<World>& world) { Platform::install(world); }
  ~Installed() { Platform::install(nullptr); }
  Installed(const Installed&) = delete;
  Installed& operator=(const Installed&) = delete;
};

double listSeconds(const std::shared_ptr<World>& world, unsigned users, unsigned calls) {
  const Installed installed(world);
  const auto list = [&](unsigned) {
    if (localNodeUsers()->count() != users) std::abort();
  };
  list(0);
  return secondsPerCall(calls, list);
}

/// The list's users in another order, sorted by CachedUser's own comparison.
double pairwiseSortSeconds(const std::shared_ptr<World>& world) {
  const Installed installed(world);
  const auto list = localNodeUsers();
  CachedUserList::Users shuffled(list->begin(), list->end());
  std::sort(shuffled.begin(), shuffled.end(),
            [](const auto& left, const auto& right) { return left->getUid() < right->getUid(); });
  return secondsPerCall(1, [&](unsigned) {
    std::sort(shuffled.begin(), shuffled.end(), [](const auto& left, const auto& right) {
      return left->cachedUserLongNameCompare(*right) < 0;
    });
  });
}

}  // namespace

int main() {
  constexpr unsigned few = 1000;
  constexpr unsigned many = 70000;
  const auto small = installWorld(few);
  const auto large = installWorld(many);
  const auto list = [&] { return listSeconds(large, many, 1); };

  const auto sorted = inTurns(kRuns, list, [&] { return pairwiseSortSeconds(large); });
  report({.name = "local-users-seconds", .unit = "s", .ours = sorted.ours, .aim = 0.5});
  report({.name = "local-users-against-pairwise-sort",
          .unit = "s",
          .ours = sorted.ours,
          .theirs = sorted.theirs,
          .peer = "its sort, pair by pair",
          .aim = 1.0});
  const double linearithmic = many * std::log(many) / (few * std::log(few));
  const auto grown =
      inTurns(kRuns, list, [&] { return listSeconds(small, few, 70) * linearithmic; });
  report({.name = "local-users",
          .unit = "s",
          .ours = grown.ours,
          .theirs = grown.theirs,
          .peer = "1,000 users, times n log n",
          .aim = 1.0});
}
