// Mapped into a program by LD_PRELOAD: its clock of the day stands at the second that
// STANDING_CLOCK names, since 1970. What measures time, such as CLOCK_MONOTONIC, goes on.

#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <sys/time.h>

namespace {

std::time_t moment() {
  static const std::time_t kMoment = [] {
    const char* text = std::getenv("STANDING_CLOCK");
    return text == nullptr ? 0 : std::strtoll(text, nullptr, 10);
  }();
  return kMoment;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept {
  if (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE) {
    *time = {moment(), 0};
    return 0;
  }
  using Function = int (*)(clockid_t, timespec*);
  static const auto kNext = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "clock_gettime"));
  return kNext(clock, time);
}

__attribute__((visibility("default"))) int gettimeofday(timeval* time, void* /*zone*/) noexcept {
  *time = {moment(), 0};
  return 0;
}

__attribute__((visibility("default"))) std::time_t time(std::time_t* told) noexcept {
  if (told != nullptr) *told = moment();
  return moment();
}
}
