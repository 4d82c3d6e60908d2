// Runs a program, whose output goes nowhere, and says what it took: nanoseconds by the clock,
// nanoseconds of processor time, and kilobytes of memory at its peak.
//
// usage: measure PROGRAM [WORD…]
//
// Exit status: the program's; 126 when a signal ended it or it can't be run.
//
// Linked statically: what wait4(2) reports as peak counts the memory of whoever starts the program.

#include <cstdio>
#include <ctime>
#include <fcntl.h>
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
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = now();
  pid_t child = 0;
  int status = 0;
  rusage usage{};
  if (posix_spawn(&child, argv[1], &quiet, nullptr, argv + 1, environ) != 0 ||
      wait4(child, &status, 0, &usage) != child || !WIFEXITED(status)) {
    std::fprintf(stderr, "measure: %s failed\n", argv[1]);
    return 126;
  }
  const auto taken = now() - start;
  std::printf("%lld %lld %ld\n", taken, nanoseconds(usage.ru_utime) + nanoseconds(usage.ru_stime),
              usage.ru_maxrss);
  return WEXITSTATUS(status);
}
