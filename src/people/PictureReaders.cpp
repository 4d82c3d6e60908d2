#include "people/PictureReaders.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <utility>

namespace gatehall {

namespace {

/// More than a screen has rows: what was wanted before has gone out of sight.
constexpr std::size_t kMostWanted = 256;
/// So many files may keep a thread each.
constexpr std::size_t kMostThreads = 32;

PictureReaders::Version versionOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec};
}

}  // namespace

struct PictureReaders::Shared {
  struct Question {
    Wanted wanted;
    std::optional<Version> known;
  };

  void run();
  std::optional<Answer> answerTo(const Question& question) const;

  Read read;
  std::function<void()> arrived;  ///< there until it is over
  std::mutex mutex;               ///< guards what follows
  std::condition_variable changed;
  std::deque<Question> questions;  ///< the latest last
  std::set<Wanted> begun;          ///< and not read yet
  std::uint64_t begunSoFar = 0;
  std::vector<Answer> answers;
  bool isOver = false;
};

void PictureReaders::Shared::run() {
  std::unique_lock lock(mutex);
  while (true) {
    changed.wait(lock, [this] { return isOver || !questions.empty(); });
    if (isOver) return;
    const auto question = std::move(questions.back());
    questions.pop_back();
    begun.insert(question.wanted);
    ++begunSoFar;
    lock.unlock();
    auto answer = answerTo(question);
    lock.lock();
    begun.erase(question.wanted);
    if (isOver) return;
    if (!answer) continue;
    answers.push_back(std::move(*answer));
    arrived();
  }
}

/// Absent for one that is known.
std::optional<PictureReaders::Answer> PictureReaders::Shared::answerTo(
    const Question& question) const {
  const auto version = versionOf(question.wanted.path);
  if (version == question.known) return std::nullopt;
  Answer answer{question.wanted, version, {}};
  try {
    answer.picture = read(question.wanted);
  } catch (const std::exception&) {
    answer.picture.reset();  // without memory for it there is none
  }
  return answer;
}

PictureReaders::PictureReaders(Read read, std::function<void()> arrived)
    : mShared(std::make_shared<Shared>()) {
  mShared->read = std::move(read);
  mShared->arrived = std::move(arrived);
  begin();
}

PictureReaders::~PictureReaders() {
  const std::lock_guard lock(mShared->mutex);
  mShared->isOver = true;
  mShared->changed.notify_all();
}

void PictureReaders::begin() {
  try {
    std::thread([shared = mShared] { shared->run(); }).detach();
    ++mThreads;
  } catch (const std::system_error&) {
    return;  // initials do as well, and another time there may be one
  }
}

void PictureReaders::want(const Wanted& wanted, const std::optional<Version>& known) {
  const std::lock_guard lock(mShared->mutex);
  if (mShared->begun.contains(wanted)) return;
  auto& questions = mShared->questions;
  std::erase_if(questions, [&](const auto& each) { return each.wanted == wanted; });
  questions.push_back({wanted, known});
  if (questions.size() > kMostWanted) questions.pop_front();
  mShared->changed.notify_one();
}

std::vector<PictureReaders::Answer> PictureReaders::take() {
  const std::lock_guard lock(mShared->mutex);
  return std::exchange(mShared->answers, {});
}

void PictureReaders::unblock() {
  {
    const std::lock_guard lock(mShared->mutex);
    const auto before = std::exchange(mBegunBefore, mShared->begunSoFar);
    if (mShared->questions.empty() || before != mShared->begunSoFar) return;
  }
  if (mThreads < kMostThreads) begin();
}

}  // namespace gatehall
