#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "gatehall/platform/RunLoop.h"

namespace gatehall {

/// What a main run loop has to do: first tasks in the order in which they were posted, then delayed
/// ones by their moments and the order of their requests. A source's tasks are handed out in the
/// modes that the source was added for. The loop's lock guards it; what it hands out is run and
/// dropped without the lock.
template <class Moment>
class TaskQueue {
 public:
  struct Task {
    std::function<void()> run;              ///< none: there is nothing to do
    std::shared_ptr<RunLoopSource> source;  ///< nullptr: heard in every mode
  };

  void addSource(std::shared_ptr<RunLoopSource> source, RunLoopMode mode) {
    if (!isInMode(source, mode)) mSources.emplace_back(std::move(source), mode);
  }
  void removeSource(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) {
    std::erase(mSources, std::pair(source, mode));
  }

  void post(std::function<void()> task) { mTasks.push_back({std::move(task), nullptr}); }

  /// On behalf of a source: dropped if the source is in no mode now or when its turn comes.
  void signal(std::shared_ptr<RunLoopSource> source, std::function<void()> task) {
    if (isInAnyMode(source)) mTasks.push_back({std::move(task), std::move(source)});
  }

  void postAt(Moment moment, std::function<void()> task) {
    mDue.emplace(std::pair(moment, mRequests++), std::move(task));
  }

  /// The moment of the first delayed task.
  std::optional<Moment> nextMoment() const {
    if (mDue.empty()) return std::nullopt;
    return mDue.begin()->first.first;
  }

  /// Takes out what is to be done next in the mode, at that moment.
  Task next(RunLoopMode mode, Moment now) {
    std::erase_if(mTasks, [this](const Task& task) {
      return task.source != nullptr && !isInAnyMode(task.source);
    });
    const auto heard = std::find_if(mTasks.begin(), mTasks.end(), [&](const Task& task) {
      return task.source == nullptr || mode == RunLoopMode::Default ||
             isInMode(task.source, RunLoopMode::Common);
    });
    Task task;
    if (heard != mTasks.end()) {
      task = std::move(*heard);
      mTasks.erase(heard);
    } else if (!mDue.empty() && mDue.begin()->first.first <= now) {
      task.run = std::move(mDue.begin()->second);
      mDue.erase(mDue.begin());
    }
    return task;
  }

 private:
  bool isInMode(const std::shared_ptr<RunLoopSource>& source, RunLoopMode mode) const {
    return std::find(mSources.begin(), mSources.end(), std::pair(source, mode)) != mSources.end();
  }
  bool isInAnyMode(const std::shared_ptr<RunLoopSource>& source) const {
    return isInMode(source, RunLoopMode::Default) || isInMode(source, RunLoopMode::Common);
  }

  std::uint64_t mRequests = 0;
  std::map<std::pair<Moment, std::uint64_t>, std::function<void()>> mDue;
  std::deque<Task> mTasks;
  std::vector<std::pair<std::shared_ptr<RunLoopSource>, RunLoopMode>> mSources;
};

}  // namespace gatehall
