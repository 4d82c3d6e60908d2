#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>

#include "gatehall/world/file/WorldPlatform.h"
#include "instrumented/InstrumentedPlatform.h"
#include "world/World.h"

namespace gatehall {
namespace {

class WorldPlatform : public ::testing::Test {
 protected:
  ~WorldPlatform() override { std::filesystem::remove(mFile); }

  std::shared_ptr<Platform> platformOf(std::string_view json) {
    std::ofstream(mFile) << json;
    return platformOfWorldFile(mFile);
  }

 private:
  const std::filesystem::path mFile = std::filesystem::path(::testing::TempDir()) /
                                      ("world-platform-" + std::to_string(getpid()) + ".json");
};

TEST_F(WorldPlatform, IsTheHostThatTheFileDescribes) {
  EXPECT_EQ(platformOf(R"({"process": {"effectiveUserID": 1000}})")->process().effectiveUserID(),
            1000U);
}

TEST_F(WorldPlatform, FailsWhereTheFileAsksForIt) {
  const auto host = platformOf(R"({"faults": [{"operation": "copySessionList", "absent": true}]})");
  EXPECT_EQ(host->sessions().copySessionList(), std::nullopt);
}

TEST_F(WorldPlatform, IsNotMadeOfAWrongFile) {
  EXPECT_THROW(platformOf(R"({"proces": {}})"), WorldError);
}

TEST_F(WorldPlatform, LetsNothingHappenBeforeItsTime) {
  const auto host = platformOf("{}");
  int done = 0;
  host->runLoop().performAfterDelay(2, [&] { ++done; });
  letTimePass(*host, 1);
  EXPECT_EQ(done, 0);
  letTimePass(*host, 1);
  EXPECT_EQ(done, 1);
}

TEST_F(WorldPlatform, RunsThreadsThatAreDetached) {
  const auto host = platformOf("{}");
  bool done = false;
  host->runLoop().detachNewThread([&] { done = true; });
  letTimePass(*host, 0);
  EXPECT_TRUE(done);
}

/// A host whose time is not in anybody's hands.
class OtherHost final : public InstrumentedPlatform {
 public:
  OtherHost() : InstrumentedPlatform(std::make_shared<World>()) {}
  RunLoop& runLoop() override { return mRunLoop; }

 private:
  class : public RunLoop {
    void performAfterDelay(double, std::function<void()>) override {}
    void performOnMainThreadAndWait(std::function<void()>) override {}
    void detachNewThread(std::function<void()>) override {}
    void sleep(double) override {}
    void addSource(std::shared_ptr<RunLoopSource>, RunLoopMode) override {}
    void removeSource(const std::shared_ptr<RunLoopSource>&, RunLoopMode) override {}
  } mRunLoop;
};

TEST_F(WorldPlatform, LetsNoTimePassOnAnotherHost) {
  OtherHost host;
  EXPECT_THROW(letTimePass(host, 1), std::invalid_argument);
}

}  // namespace
}  // namespace gatehall
