// localNodeUsers, sorted, for 70,000 users, against the same list sorted by one comparison of long
// names a pair; and its growth from 1,000 users against that of n log n.

#include <cmath>
#include <cstdlib>

#include "bench/LargeWorld.h"
#include "gatehall/users/UserLists.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

double listSeconds(unsigned users, unsigned rounds) {
  const auto world = installWorld(users);
  const double seconds = secondsPerCall(rounds, 1, [&](unsigned) {
    if (localNodeUsers()->count() != users) std::abort();
  });
  Platform::install(nullptr);
  return seconds;
}

/// The list's users in another order, sorted by CachedUser's own comparison.
double pairwiseSortSeconds(unsigned users) {
  const auto world = installWorld(users);
  const auto list = localNodeUsers();
  CachedUserList::Users shuffled(list->begin(), list->end());
  std::sort(shuffled.begin(), shuffled.end(),
            [](const auto& left, const auto& right) { return left->getUid() < right->getUid(); });
  const double seconds = secondsPerCall(1, 1, [&](unsigned) {
    std::sort(shuffled.begin(), shuffled.end(), [](const auto& left, const auto& right) {
      return left->cachedUserLongNameCompare(*right) < 0;
    });
  });
  shuffled.clear();
  Platform::install(nullptr);
  return seconds;
}

}  // namespace

int main() {
  constexpr unsigned few = 1000;
  constexpr unsigned many = 70000;
  const double small = listSeconds(few, 15);
  const double large = listSeconds(many, 5);
  const double pairwise = pairwiseSortSeconds(many);
  const double linearithmic = many * std::log(many) / (few * std::log(few));
  std::printf("local-users: %.3f s for %u users (aim: under 0.5 s), %.4f s for %u\n", large, many,
              small, few);
  std::printf("local-users: sorting pair by pair alone would take %.3f s\n", pairwise);
  std::printf("local-users-against-pairwise-sort ratio %.2f aim 1.0\n", large / pairwise);
  std::printf("local-users ratio %.2f aim 1.0\n", large / small / linearithmic);
}
