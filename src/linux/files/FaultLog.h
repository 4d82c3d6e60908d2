#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/platform/Log.h"

namespace gatehall {

/// What is wrong in a file of the machine's.
struct FileFault {
  std::string file;        ///< from the host's root
  std::uint64_t line = 0;  ///< from 1; 0: the file as a whole
  std::string text;
};

/// Says in the diagnostic log what is wrong in the machine's files, each fault once a process: the
/// same files are read over and over. From any thread.
class FaultLog {
 public:
  /// What is reported is also kept there, if that is given: not while another thread reports.
  explicit FaultLog(Log& log, std::vector<FileFault>* kept = nullptr) : mLog(log), mKept(kept) {}

  /// "FILE: TEXT". The message.
  std::string report(std::string_view file, std::string_view text);

  /// "FILE:LINE: TEXT". The message.
  std::string report(std::string_view file, std::uint64_t line, std::string_view text);

 private:
  std::string reportOnce(FileFault fault, std::string message);

  Log& mLog;
  std::vector<FileFault>* mKept;
  std::mutex mMutex;
  std::set<std::string, std::less<>> mReported;
};

/// The text for a log line, cut when it is long, with what isn't printable ASCII as a question
/// mark.
std::string printable(std::string_view text, std::size_t longest = 64);

}  // namespace gatehall
