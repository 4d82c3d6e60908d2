#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "linux/files/FileDescriptor.h"

namespace gatehall {

/// A text file read line by line through one buffer, which is wiped when the file is closed: a line
/// may hold a password hash.
class LineFile {
 public:
  /// Opens a regular file. Lines longer than the limit are handed out without their text.
  LineFile(const std::string& path, std::size_t longestLine);
  ~LineFile();
  LineFile(const LineFile&) = delete;
  LineFile& operator=(const LineFile&) = delete;

  /// 0 when the file is open, else the errno(3) that says why not.
  int openError() const { return mOpenError; }

  /// Moves to the next line; false at the end. The text is good until the next call, without its
  /// line feed and the carriage return before that. Raises PlatformException on a read error.
  bool next(std::string_view& line) {
    const char* start = mBuffer.get() + mBegin;
    const auto* feed = static_cast<const char*>(std::memchr(start, '\n', mEnd - mBegin));
    if (feed == nullptr || feed - start > mLongestWhole) return nextAcrossReads(line);
    mBegin += static_cast<std::size_t>(feed - start) + 1;
    ++mLineNumber;
    mOverlong = false;
    const bool hasReturn = feed > start && feed[-1] == '\r';
    line = std::string_view(start, static_cast<std::size_t>(feed - start) - (hasReturn ? 1U : 0U));
    return true;
  }

  /// Of the line last handed out, from 1.
  std::uint64_t lineNumber() const { return mLineNumber; }

  /// True when the line last handed out is beyond the limit.
  bool isOverlong() const { return mOverlong; }

 private:
  bool nextAcrossReads(std::string_view& line);

  /// Reads more behind what is unread; false at the end of the file.
  bool fill();
  void makeRoom();
  void hand(std::string_view text, std::string_view& line);

  std::string mPath;
  FileDescriptor mFile;
  int mOpenError = 0;
  std::size_t mLongestLine;
  std::ptrdiff_t mLongestWhole;
  std::unique_ptr<char[]> mBuffer;
  std::size_t mCapacity;
  std::size_t mBegin = 0;
  std::size_t mEnd = 0;
  std::size_t mFilled = 0;
  std::uint64_t mLineNumber = 0;
  bool mOverlong = false;
};

}  // namespace gatehall
