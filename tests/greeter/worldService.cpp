// The service over a world, for tests of programs that ask it.
//
//   world-service BUS-ADDRESS WORLD-FILE
//
// Serves com.orvane.Gatehall1 on that bus, as gatehalld does, and is told on its standard input
// what happens, a line each:
//
//   {"addUser": ...}, [...]   a step of a script of events, or several (gatehallctl(1))
//   mute, speak               questions about accounts are left unanswered from now on; answered
//   leave, come               the service goes off the bus; a new one comes
//
// Prints "ready" and the world's time, in seconds since 1970, once it is on the bus, then "done"
// for each line, when all that follows from it has been told. What is wrong with a line ends it.

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

#include "gatehall/platform/Platform.h"
#include "linux/files/HostOptions.h"
#include "linux/loop/EventLoop.h"
#include "linux/loop/MainLoop.h"
#include "service/answers/Answers.h"
#include "service/bus/Front.h"
#include "service/bus/Limits.h"
#include "service/list/Publisher.h"
#include "tests/service/Client.h"
#include "world/file/WorldFile.h"
#include "world/script/Script.h"

namespace {

using namespace gatehall;

/// After an event the layer waits for a second until the burst of them is over.
constexpr double kUntilAllIsTold = 2;

class WorldService {
 public:
  WorldService(const std::string& busAddress, const std::string& file)
      : mFile(file), mWorld(worldFromFile(file)) {
    mOptions.systemBusAddress = busAddress;
    mLimits.idle = std::chrono::hours(1);
    Platform::install(mWorld);
    come();
  }

  ~WorldService() {
    leave();
    Platform::install(nullptr);
  }
  WorldService(const WorldService&) = delete;
  WorldService& operator=(const WorldService&) = delete;

  void run() {
    std::printf("ready %lld\n", static_cast<long long>(now()));
    std::fflush(stdout);
    mLoop.run();
  }

 private:
  long long now() const {
    return std::chrono::floor<std::chrono::seconds>(mWorld->clock().now())
        .time_since_epoch()
        .count();
  }

  void come() {
    if (mFront) throw std::runtime_error("The service is there.");
    mFront = std::make_unique<service::Front>(
        mOptions, mLimits, mWorld->log(), [this](const auto& question) { return answer(question); },
        [] {});
    mFront->begin();
    Client(mOptions.systemBusAddress).findService();
    mPublisher = std::make_shared<service::Publisher>(mFront->audience());
    mPublisher->begin();
    mWorld->runLoop().run(0);
  }

  void leave() {
    setMute(false);
    if (mPublisher) std::exchange(mPublisher, nullptr)->end();
    mFront.reset();
  }

  void setMute(bool isMute) {
    const std::scoped_lock lock(mMutex);
    mIsMute = isMute;
    mSpeaks.notify_all();
  }

  /// On a thread of the questions'.
  service::Answer answer(const service::Question& question) {
    std::unique_lock lock(mMutex);
    mSpeaks.wait(lock, [this] { return !mIsMute; });
    return service::Answers({.worldFile = mFile})(question);
  }

  void read() {
    std::array<char, 65536> text;
    const auto length = ::read(STDIN_FILENO, text.data(), text.size());
    if (length <= 0) return mLoop.stop();
    mLines.append(text.data(), static_cast<std::size_t>(length));
    for (auto end = mLines.find('\n'); end != std::string::npos; end = mLines.find('\n')) {
      const auto line = mLines.substr(0, end);
      mLines.erase(0, end + 1);
      // What a handler raises would be lost.
      mLoop.post([this, line] { obey(line); });
    }
  }

  void obey(const std::string& line) {
    if (line == "mute" || line == "speak") {
      setMute(line == "mute");
    } else if (line == "leave") {
      leave();
    } else if (line == "come") {
      come();
    } else {
      happen(line.starts_with('[') ? line : '[' + line + ']');
    }
    std::puts("done");
    std::fflush(stdout);
  }

  void happen(const std::string& script) {
    const std::scoped_lock lock(mMutex);
    auto& loop = mWorld->runLoop();
    for (const auto& event : readScript({"the line", script})) {
      loop.run(event.after);
      if (event.happen) event.happen(*mWorld);
    }
    loop.run(kUntilAllIsTold);
  }

  const std::string mFile;
  const std::shared_ptr<World> mWorld;
  HostOptions mOptions;
  service::Limits mLimits;
  std::string mLines;  ///< read, and not yet obeyed
  std::mutex mMutex;   ///< who asks the world, and who changes it
  std::condition_variable mSpeaks;
  bool mIsMute = false;
  EventLoop::SourceHandle mInput;
  MainLoop mLoop{std::this_thread::get_id(), [this](EventLoop& events) {
                   mInput = events.whenReadable(STDIN_FILENO, [this] { read(); });
                 }};
  std::unique_ptr<service::Front> mFront;
  std::shared_ptr<service::Publisher> mPublisher;
};

}  // namespace

int main(int count, char** words) {
  if (count != 3) {
    std::fputs("usage: world-service BUS-ADDRESS WORLD-FILE\n", stderr);
    return 2;
  }
  try {
    WorldService(words[1], words[2]).run();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "world-service: %s\n", failure.what());
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
