// Runs a program and says what it took: nanoseconds by the clock, nanoseconds of processor time,
// and kilobytes of memory at its peak.
//
// usage: measure PROGRAM [WORD…]
//
// Linked statically: what wait4(2) reports as peak counts the memory of whoever starts the program.

#include <cstdio>
#include <ctime>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

long long nanoseconds(const timeval& time) {
  return time.tv_sec * 1'000'000'000LL + time.tv_usec * 1000LL;
}

long long now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const auto start = now();
  pid_t child = 0;
  int status = 0;
  rusage usage{};
  if (posix_spawn(&child, argv[1], nullptr, nullptr, argv + 1, environ) != 0 ||
      wait4(child, &status, 0, &usage) != child || status != 0) {
    std::fprintf(stderr, "measure: %s failed\n", argv[1]);
    return 1;
  }
  const auto taken = now() - start;
  std::printf("%lld %lld %ld\n", taken, nanoseconds(usage.ru_utime) + nanoseconds(usage.ru_stime),
              usage.ru_maxrss);
  return 0;
}
