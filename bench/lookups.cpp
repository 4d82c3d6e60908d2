// One lookup by user id, GUID and name in a world of 70,000 users against the same in one of 100: a
// ratio of 1 means that a lookup takes no longer in the larger directory. The same number of users,
// spread evenly, is looked up in both, so that it is not the processor's caches that are compared.

#include <cstdlib>

#include "bench/LargeWorld.h"
#include "gatehall/users/UserLists.h"
#include "gatehall/users/UserLookup.h"

namespace {

using namespace gatehall;
using namespace gatehall::bench;

constexpr unsigned kFew = 100;
constexpr unsigned kMany = 70000;

struct Times {
  double byUserID;
  double byGUID;
  double byName;
};

void require(const auto& found) {
  if (!found) std::abort();
}

Times measure(unsigned users) {
  const auto world = installWorld(users);
  const auto pick = [users](unsigned call) { return call * 7 % kFew * (users / kFew); };
  Times times{};
  times.byUserID = secondsPerCall(15, 2000, [&](unsigned call) {
    require(cachedUserForUID(static_cast<std::int32_t>(1000 + pick(call))));
  });
  times.byGUID = secondsPerCall(
      15, 2000, [&](unsigned call) { require(cachedUserForGUID(userGUID(pick(call)))); });
  times.byName = secondsPerCall(15, 2000, [&](unsigned call) {
    require(
        searchNodeUsersForName("user" + std::to_string(pick(call)), kNoUserID, 1)->lastObject());
  });
  Platform::install(nullptr);
  return times;
}

void print(const char* name, double few, double many) {
  std::printf("%s: %.2f us of %u users, %.2f us of %u\n", name, few * 1e6, kFew, many * 1e6, kMany);
  std::printf("%s ratio %.2f aim 1.5\n", name, many / few);
}

}  // namespace

int main() {
  const auto few = measure(kFew);
  const auto many = measure(kMany);
  print("lookup-by-guid", few.byGUID, many.byGUID);
  print("lookup-by-name", few.byName, many.byName);
  print("lookup-by-uid", few.byUserID, many.byUserID);
}
