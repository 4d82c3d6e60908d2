#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sd_event;

namespace gatehall {

/// What the main run loop waits with: sd-event(3). Maps libsystemd. On one thread, and never from
/// inside a handler; a handler must not throw.
class EventLoop {
 public:
  using Moment = std::chrono::steady_clock::time_point;

  /// Something that is waited for as long as the object lives.
  class Source;
  using SourceHandle = std::shared_ptr<Source>;

  /// Raises PlatformException, as do all functions that make a source.
  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  SourceHandle whenReadable(int file, std::function<void()> handler);

  /// Whenever a file of the folder was written, replaced, removed or given other rights, or a
  /// folder made in it: its name. No name when some changes were lost, and when the folder itself
  /// has other rights or goes, after which nothing is heard of it. Absent when there is no such
  /// folder.
  SourceHandle whenChanged(const std::string& folder,
                           std::function<void(std::string_view name)> handler);

  /// For the signal(7), which the calling thread holds back meanwhile.
  SourceHandle whenSignalled(int signal, std::function<void()> handler);

  /// Steps end at that moment at the latest; absent: there is none.
  void wakeAt(std::optional<Moment> moment);

  enum class Wait { No, Forever };

  /// Handles one event; false when there was none.
  bool step(Wait wait);

  /// Makes the descriptor tell when a step has something to do. False when it has already.
  bool arm();

  /// Readable when a step has something to do, once armed.
  int descriptor() const;

  sd_event* handle();

 private:
  struct State;

  std::unique_ptr<State> mState;
};

}  // namespace gatehall
