#include "linux/files/FaultLog.h"

#include <algorithm>

namespace gatehall {

namespace {

/// Beyond it the log has seen enough of a broken machine.
constexpr std::size_t kMostReported = 1000;

}  // namespace

void FaultLog::report(std::string_view file, std::string_view text) {
  reportOnce(std::string(file) + ": " + std::string(text));
}

void FaultLog::report(std::string_view file, std::uint64_t line, std::string_view text) {
  reportOnce(std::string(file) + ":" + std::to_string(line) + ": " + std::string(text));
}

void FaultLog::reportOnce(std::string message) {
  {
    const std::lock_guard lock(mMutex);
    if (mReported.size() >= kMostReported || mReported.contains(message)) return;
    mReported.insert(message);
  }
  mLog.diagnostic(message);
}

std::string printable(std::string_view text, std::size_t longest) {
  std::string result(text.substr(0, longest));
  std::replace_if(
      result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  if (text.size() > longest) result += "...";
  return result;
}

}  // namespace gatehall
