#include <gmock/gmock.h>
#include <pthread.h>

#include "linux/ldap/client/ServerSocket.h"
#include "linux/records/NetworkNode.h"
#include "tests/Patience.h"

namespace gatehall {
namespace {

/// Lets no thread be made while it lives: each would have more stack than there can be.
class NoThreads {
 public:
  NoThreads() {
    pthread_getattr_default_np(&mUsual);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{1} << 50U);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&mUsual);
    pthread_attr_destroy(&mUsual);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t mUsual{};
};

}  // namespace

TEST(ServerSocket, OfAHostWhoseNameCannotBeLookedUpForLackOfThreadsIsNotThere) {
  const auto server = ldap::URI::parse("ldap://localhost:1").value();
  const NoThreads noThreads;
  try {
    connectTo(server, "", std::chrono::steady_clock::now() + kPatience);
    FAIL();
  } catch (const DirectoryUnreachable& failure) {
    EXPECT_THAT(failure.what(),
                testing::StartsWith("ldap://localhost:1: its name can't be looked up: "));
  }
}

}  // namespace gatehall
