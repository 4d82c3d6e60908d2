#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace gatehall::bench {

using Command = std::vector<std::string>;

[[noreturn]] inline void fail(const std::string& what) {
  std::perror(what.c_str());
  std::exit(1);
}

inline std::vector<char*> arguments(const Command& command) {
  std::vector<char*> words;
  for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  return words;
}

/// What one process took as a whole.
struct Spent {
  double milliseconds;
  double processorMilliseconds;
  double megabytes;  ///< of memory, at its peak
};

/// The whole of one process, whose output goes nowhere and which must end with that status.
inline Spent spent(const Command& command, int expected = 0) {
  auto words = arguments(command);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  if (posix_spawn(&child, words[0], &quiet, nullptr, words.data(), environ) != 0) fail(command[0]);
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  posix_spawn_file_actions_destroy(&quiet);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != expected) fail(command[0] + " failed");
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
  };
  return {taken.count(), milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) / 1024};
}

inline double wallMilliseconds(const Command& command) { return spent(command).milliseconds; }

inline double median(std::vector<double> samples) {
  std::sort(samples.begin(), samples.end());
  return samples[samples.size() / 2];
}

}  // namespace gatehall::bench
