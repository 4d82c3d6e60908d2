#pragma once

#include <cstddef>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <string_view>
#include <utility>
#include <vector>

#include "gatehall/platform/Platform.h"
#include "instrumented/InstrumentedPlatform.h"
#include "world/file/WorldFile.h"

namespace gatehall {

/// How a failed expectation shows a call.
inline void PrintTo(const Call& call, std::ostream* out) {
  *out << call.operation << " " << description(call.arguments);
}

/// A case whose host is a world: an empty one at first. The layer sees it through an
/// InstrumentedPlatform, which records what is asked of it. After the case no host is installed.
class InstalledWorld : public ::testing::Test {
 protected:
  InstalledWorld() { install(std::make_shared<World>()); }
  ~InstalledWorld() override { Platform::install(nullptr); }

  /// Installs the world in place of the one before it, with the faults it asks for.
  void install(std::shared_ptr<World> world) {
    const auto faults = world->faults();
    mTrace = std::make_shared<Trace>();
    mForgotten = 0;
    Platform::install(std::make_shared<InstrumentedPlatform>(world, faults, mTrace));
    mWorld = std::move(world);
  }

  /// The same for the text of a world file.
  void install(std::string_view json) { install(worldFromText(json, "world.json")); }

  /// Installs the world anew with these faults; the layer's caches are dropped and the trace starts
  /// again.
  void fail(std::vector<Fault> faults) {
    mWorld->setFaults(std::move(faults));
    install(mWorld);
  }

  // What was logged, by level.

  Strings errors() const { return logged(RecordingLog::Level::Error); }
  Strings diagnostics() const { return logged(RecordingLog::Level::Diagnostic); }

  /// The operations asked of the world since forgetCalls.
  std::vector<Call> calls() const {
    auto calls = mTrace->calls();
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(mForgotten));
    return calls;
  }

  /// Those of that name.
  std::vector<Call> calls(std::string_view operation) const {
    auto calls = this->calls();
    std::erase_if(calls, [&](const Call& call) { return call.operation != operation; });
    return calls;
  }

  void forgetCalls() { mForgotten = mTrace->calls().size(); }

  std::shared_ptr<World> mWorld;

 private:
  Strings logged(RecordingLog::Level level) const {
    Strings texts;
    for (auto& entry : mWorld->log().entries()) {
      if (entry.level == level) texts.push_back(std::move(entry.text));
    }
    return texts;
  }

  std::shared_ptr<Trace> mTrace;
  std::size_t mForgotten = 0;
};

}  // namespace gatehall
