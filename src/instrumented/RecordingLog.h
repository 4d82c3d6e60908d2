#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/Log.h"

namespace gatehall {

/// A log that keeps its messages, in order.
class RecordingLog : public Log {
 public:
  enum class Level { Error, Diagnostic };

  struct Entry {
    Level level;
    std::string text;
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  void error(std::string_view text) override;
  void diagnostic(std::string_view text) override;

  /// What was logged so far.
  std::vector<Entry> entries() const;

  /// The same, which are forgotten then.
  std::vector<Entry> takeEntries();

 private:
  void append(Level level, std::string_view text);

  mutable std::mutex mMutex;
  std::vector<Entry> mEntries;
};

}  // namespace gatehall
