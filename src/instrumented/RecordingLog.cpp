#include "instrumented/RecordingLog.h"

#include <utility>

namespace gatehall {

void RecordingLog::error(std::string_view text) { append(Level::Error, text); }

void RecordingLog::diagnostic(std::string_view text) { append(Level::Diagnostic, text); }

std::vector<RecordingLog::Entry> RecordingLog::entries() const {
  const std::scoped_lock lock(mMutex);
  return mEntries;
}

std::vector<RecordingLog::Entry> RecordingLog::takeEntries() {
  const std::scoped_lock lock(mMutex);
  return std::exchange(mEntries, {});
}

void RecordingLog::append(Level level, std::string_view text) {
  const std::scoped_lock lock(mMutex);
  mEntries.push_back({level, std::string(text)});
}

}  // namespace gatehall
