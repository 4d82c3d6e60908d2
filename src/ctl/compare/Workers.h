#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace gatehall::ctl {

/// What became of one task.
struct TaskResult {
  std::string content{};
  std::string failure{};  ///< why there is no content; empty when there is
};

/// The same work on many machines, on all processors: the host is one of the whole process, so
/// processes share the tasks among them.
struct Workers {
  /// What a task comes to, by its number. Runs in a process of its own, forked from this one, whose
  /// threads it lacks. What it raises is the task's failure.
  std::function<std::string(std::size_t)> task;

  /// Told how many tasks are done, after each.
  std::function<void(std::size_t)> progress = [](std::size_t) {};

  /// Takes the result of a task, by the task's number.
  using Take = std::function<void(std::size_t task, TaskResult result)>;

  /// Carries out that many tasks, whose results are taken as they come, in any order. A process
  /// that ends in the middle of a task is that task's failure, and another one goes on. Raises
  /// PlatformException when no process can be had, and what the taker raises. Call it while there
  /// is no other thread.
  void carryOut(std::size_t tasks, const Take& take) const;

  /// The same; the results in the order of the tasks' numbers.
  std::vector<TaskResult> carryOut(std::size_t tasks) const;
};

}  // namespace gatehall::ctl
