#include "linux/files/FaultLog.h"

#include <algorithm>
#include <utility>

namespace gatehall {

namespace {

/// Beyond it the log has seen enough of a broken machine.
constexpr std::size_t kMostReported = 1000;

}  // namespace

std::string FaultLog::report(std::string_view file, std::string_view text) {
  return reportOnce({std::string(file), 0, std::string(text)},
                    std::string(file) + ": " + std::string(text));
}

std::string FaultLog::report(std::string_view file, std::uint64_t line, std::string_view text) {
  return reportOnce({std::string(file), line, std::string(text)},
                    std::string(file) + ":" + std::to_string(line) + ": " + std::string(text));
}

std::string FaultLog::reportOnce(FileFault fault, std::string message) {
  {
    const std::lock_guard lock(mMutex);
    if (mReported.size() >= kMostReported || mReported.contains(message)) return message;
    mReported.insert(message);
    if (mKept != nullptr) mKept->push_back(std::move(fault));
  }
  mLog.diagnostic(message);
  return message;
}

std::string printable(std::string_view text, std::size_t longest) {
  std::string result(text.substr(0, longest));
  std::replace_if(
      result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  if (text.size() > longest) result += "...";
  return result;
}

}  // namespace gatehall
