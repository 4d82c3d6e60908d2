#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "people/PictureFile.h"

namespace gatehall {

/// Threads that read pictures. A file system that doesn't answer may keep one of them for ever:
/// then another reads on, and nobody waits for its end. On one thread, but for what is said.
class PictureReaders {
 public:
  struct Wanted {
    std::string path;
    int diameter = 0;

    friend auto operator<=>(const Wanted&, const Wanted&) = default;
  };

  /// Tells a file from what stands there later under its name.
  struct Version {
    std::uint64_t device = 0;
    std::uint64_t file = 0;  ///< 0: there is none
    std::int64_t size = 0;
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;

    friend bool operator==(const Version&, const Version&) = default;
  };

  struct Answer {
    Wanted wanted;
    Version version;
    std::optional<Picture> picture;
  };

  /// Called by one of the threads; absent: there is none.
  using Read = std::function<std::optional<Picture>(const Wanted&)>;

  /// "arrived" is called by one of the threads when there is an answer to be taken.
  PictureReaders(Read read, std::function<void()> arrived);
  ~PictureReaders();
  PictureReaders(const PictureReaders&) = delete;
  PictureReaders& operator=(const PictureReaders&) = delete;

  /// What is wanted last is read first; of what was wanted long before nothing may come. With a
  /// version only what is of another is told.
  void want(const Wanted& wanted, const std::optional<Version>& known = {});

  /// What was read since.
  std::vector<Answer> take();

  /// Now and then: has another thread read when none has begun anything since the last time.
  void unblock();

 private:
  struct Shared;

  void begin();

  const std::shared_ptr<Shared> mShared;
  std::size_t mThreads = 0;
  std::uint64_t mBegunBefore = 0;
};

}  // namespace gatehall
