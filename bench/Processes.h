#pragma once

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "bench/Figures.h"

namespace gatehall::bench {

using Command = std::vector<std::string>;

[[noreturn]] inline void fail(const std::string& what) {
  std::perror(what.c_str());
  std::exit(1);
}

/// The folder of the programs that were built with this one.
inline std::filesystem::path programs() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// What one process took as a whole.
struct Spent {
  double milliseconds;
  double processorMilliseconds;
  double megabytes;  ///< of memory, at its peak
};

/// The whole of one process, whose output goes nowhere and which must end with that status. It is
/// started by the small program `measure`: what is told of a process's memory counts that of
/// whoever started it.
inline Spent spent(const Command& command, int expected = 0) {
  std::string measure = programs() / "measure";
  std::vector<char*> words{measure.data()};
  for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) fail("pipe2");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t child = 0;
  if (posix_spawn(&child, words[0], &actions, nullptr, words.data(), environ) != 0) fail(measure);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  auto* output = fdopen(ends[0], "r");
  double nanoseconds = 0;
  double processorNanoseconds = 0;
  double kilobytes = 0;
  const int read =
      std::fscanf(output, "%lf %lf %lf", &nanoseconds, &processorNanoseconds, &kilobytes);
  std::fclose(output);
  int status = 0;
  waitpid(child, &status, 0);
  if (read != 3 || !WIFEXITED(status) || WEXITSTATUS(status) != expected) {
    fail(command[0] + " failed");
  }
  return {nanoseconds * 1e-6, processorNanoseconds * 1e-6, kilobytes / 1024};
}

/// One of the quantities of each.
inline std::vector<double> each(const std::vector<Spent>& processes, double Spent::*quantity) {
  std::vector<double> values;
  for (const auto& process : processes) values.push_back(process.*quantity);
  return values;
}

/// Reports one quantity of ours and the peer's.
inline void report(const std::string& name, const std::string& unit, const Turns<Spent>& taken,
                   double Spent::*quantity, const std::string& peer,
                   std::optional<double> aim = {}) {
  report({.name = name,
          .unit = unit,
          .ours = each(taken.ours, quantity),
          .theirs = each(taken.theirs, quantity),
          .peer = peer,
          .aim = aim});
}

/// Reports NAME, by the clock, and NAME-processor, which tells how far a machine that has other
/// things to do can be believed.
inline void reportTimes(const std::string& name, const Turns<Spent>& taken, const std::string& peer,
                        double aim) {
  report(name, "ms", taken, &Spent::milliseconds, peer, aim);
  report(name + "-processor", "ms", taken, &Spent::processorMilliseconds, peer);
}

/// Reports these and NAME-memory.
inline void reportProcesses(const std::string& name, const Turns<Spent>& taken,
                            const std::string& peer, double aim,
                            std::optional<double> memoryAim = {}) {
  reportTimes(name, taken, peer, aim);
  report(name + "-memory", "MB", taken, &Spent::megabytes, peer, memoryAim);
}

/// That many runs of both, in turns.
inline Turns<Spent> processesInTurns(int runs, const Command& ours, const Command& theirs) {
  return inTurns(
      runs, [&] { return spent(ours); }, [&] { return spent(theirs); });
}

}  // namespace gatehall::bench
