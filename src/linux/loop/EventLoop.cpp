#include "linux/loop/EventLoop.h"

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <system_error>
#include <systemd/sd-event.h>
#include <utility>

#include "gatehall/base/PlatformException.h"
#include "portable/LazyLibrary.h"

namespace gatehall {

namespace {

constexpr std::chrono::microseconds kAccuracy{1000};

struct Library {
  LazyLibrary library{"libsystemd.so.0", "libsystemd0"};
#define GATEHALL_SD_EVENT(name) \
  decltype(::sd_event_##name)* name = GATEHALL_FUNCTION(library, sd_event_##name)
  // "new" is no name for a field.
  decltype(::sd_event_new)* make = GATEHALL_FUNCTION(library, sd_event_new);
  GATEHALL_SD_EVENT(unref);
  GATEHALL_SD_EVENT(get_fd);
  GATEHALL_SD_EVENT(get_state);
  GATEHALL_SD_EVENT(prepare);
  GATEHALL_SD_EVENT(wait);
  GATEHALL_SD_EVENT(dispatch);
  GATEHALL_SD_EVENT(add_io);
  GATEHALL_SD_EVENT(add_time);
  GATEHALL_SD_EVENT(add_signal);
  GATEHALL_SD_EVENT(add_inotify);
  GATEHALL_SD_EVENT(source_disable_unref);
  GATEHALL_SD_EVENT(source_set_enabled);
  GATEHALL_SD_EVENT(source_set_time);
#undef GATEHALL_SD_EVENT
};

const Library& libsystemd() {
  static const Library library;
  return library;
}

/// sd-event answers by negative errno(3) numbers.
int check(int result, const char* what) {
  if (result >= 0) return result;
  throw PlatformException(std::string("Unable to wait for ") + what + ": " +
                          std::generic_category().message(-result));
}

struct Unreferenced {
  void operator()(sd_event* loop) const { libsystemd().unref(loop); }
  void operator()(sd_event_source* source) const { libsystemd().source_disable_unref(source); }
};
using SdEventSource = std::unique_ptr<sd_event_source, Unreferenced>;

}  // namespace

class EventLoop::Source {
 public:
  explicit Source(std::function<void()> handler) : mHandler(std::move(handler)) {}
  explicit Source(std::function<void(std::string_view)> handler)
      : mNamedHandler(std::move(handler)) {}

  void hold(sd_event_source* source) { mSource.reset(source); }

  static int onFile(sd_event_source* /*source*/, int /*file*/, std::uint32_t /*events*/,
                    void* self) {
    return static_cast<Source*>(self)->handle();
  }
  static int onSignal(sd_event_source* /*source*/, const signalfd_siginfo* /*info*/, void* self) {
    return static_cast<Source*>(self)->handle();
  }
  static int onChange(sd_event_source* /*source*/, const inotify_event* event, void* self) {
    // A file that is made is yet to be written.
    if ((event->mask & IN_CREATE) != 0 && (event->mask & IN_ISDIR) == 0) return 0;
    static_cast<Source*>(self)->mNamedHandler(event->len > 0 ? event->name : "");
    return 0;
  }

 private:
  int handle() const {
    mHandler();
    return 0;
  }

  const std::function<void()> mHandler;
  const std::function<void(std::string_view)> mNamedHandler;
  SdEventSource mSource;
};

struct EventLoop::State {
  std::unique_ptr<sd_event, Unreferenced> loop;
  SdEventSource timer;
};

EventLoop::EventLoop() : mState(std::make_unique<State>()) {
  sd_event* loop = nullptr;
  check(libsystemd().make(&loop), "events");
  mState->loop.reset(loop);
  sd_event_source* timer = nullptr;
  const auto wakeUp = [](sd_event_source*, std::uint64_t, void*) { return 0; };
  check(libsystemd().add_time(loop, &timer, CLOCK_MONOTONIC, 0,
                              static_cast<std::uint64_t>(kAccuracy.count()), wakeUp, nullptr),
        "a moment");
  mState->timer.reset(timer);
  wakeAt(std::nullopt);
}

EventLoop::~EventLoop() = default;

EventLoop::SourceHandle EventLoop::whenReadable(int file, std::function<void()> handler) {
  auto source = std::make_shared<Source>(std::move(handler));
  sd_event_source* raw = nullptr;
  check(libsystemd().add_io(handle(), &raw, file, EPOLLIN, &Source::onFile, source.get()),
        "a file");
  source->hold(raw);
  return source;
}

EventLoop::SourceHandle EventLoop::whenChanged(const std::string& folder,
                                               std::function<void(std::string_view name)> handler) {
  auto source = std::make_shared<Source>(std::move(handler));
  sd_event_source* raw = nullptr;
  const int result = libsystemd().add_inotify(
      handle(), &raw, folder.c_str(),
      IN_CLOSE_WRITE | IN_MOVE | IN_DELETE | IN_CREATE | IN_MOVE_SELF | IN_ONLYDIR,
      &Source::onChange, source.get());
  if (result == -ENOENT || result == -ENOTDIR) return nullptr;
  check(result, folder.c_str());
  source->hold(raw);
  return source;
}

EventLoop::SourceHandle EventLoop::whenSignalled(int signal, std::function<void()> handler) {
  auto source = std::make_shared<Source>(std::move(handler));
  sd_event_source* raw = nullptr;
  check(libsystemd().add_signal(handle(), &raw, signal | SD_EVENT_SIGNAL_PROCMASK,
                                &Source::onSignal, source.get()),
        "a signal");
  source->hold(raw);
  return source;
}

void EventLoop::wakeAt(std::optional<Moment> moment) {
  auto* timer = mState->timer.get();
  if (moment) {
    const auto time = std::chrono::ceil<std::chrono::microseconds>(moment->time_since_epoch());
    check(libsystemd().source_set_time(timer, static_cast<std::uint64_t>(time.count())),
          "a moment");
  }
  check(libsystemd().source_set_enabled(timer, moment ? SD_EVENT_ONESHOT : SD_EVENT_OFF),
        "a moment");
}

bool EventLoop::step(Wait wait) {
  const auto& sd = libsystemd();
  if (sd.get_state(handle()) == SD_EVENT_INITIAL) check(sd.prepare(handle()), "events");
  if (sd.get_state(handle()) == SD_EVENT_ARMED &&
      check(sd.wait(handle(), wait == Wait::No ? 0 : UINT64_MAX), "events") == 0) {
    return false;
  }
  check(sd.dispatch(handle()), "events");
  return true;
}

bool EventLoop::arm() {
  const auto& sd = libsystemd();
  if (sd.get_state(handle()) == SD_EVENT_INITIAL) check(sd.prepare(handle()), "events");
  return sd.get_state(handle()) == SD_EVENT_ARMED;
}

int EventLoop::descriptor() const {
  return check(libsystemd().get_fd(mState->loop.get()), "events");
}

sd_event* EventLoop::handle() { return mState->loop.get(); }

}  // namespace gatehall
