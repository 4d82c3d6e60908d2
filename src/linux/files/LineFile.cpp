#include "linux/files/LineFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "gatehall/base/PlatformException.h"

namespace gatehall {

namespace {

constexpr std::size_t kInitialCapacity = 65536;

}  // namespace

LineFile::LineFile(const std::string& path, std::size_t longestLine)
    : mPath(path),
      mLongestLine(longestLine),
      mLongestWhole(static_cast<std::ptrdiff_t>(longestLine)),
      mCapacity(std::min(kInitialCapacity, longestLine + 2)) {
  struct stat status {};
  mFile = openRegularFile(path, Symlinks::Follow, status, mOpenError);
  mBuffer.reset(new char[mCapacity]);
}

LineFile::~LineFile() { explicit_bzero(mBuffer.get(), mFilled); }

void LineFile::makeRoom() {
  if (mBegin > 0) {
    std::memmove(mBuffer.get(), mBuffer.get() + mBegin, mEnd - mBegin);
    mEnd -= mBegin;
    mBegin = 0;
  } else if (mEnd == mCapacity) {
    const auto capacity = std::min(mCapacity * 2, mLongestLine + 2);
    std::unique_ptr<char[]> larger(new char[capacity]);
    std::memcpy(larger.get(), mBuffer.get(), mEnd);
    explicit_bzero(mBuffer.get(), mFilled);
    mBuffer = std::move(larger);
    mCapacity = capacity;
    mFilled = mEnd;
  }
}

bool LineFile::fill() {
  makeRoom();
  ssize_t count = 0;
  do {
    count = read(mFile.number(), mBuffer.get() + mEnd, mCapacity - mEnd);
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw PlatformException(mPath + ": " + strerrordesc_np(errno));
  mEnd += static_cast<std::size_t>(count);
  mFilled = std::max(mFilled, mEnd);
  return count > 0;
}

void LineFile::hand(std::string_view text, std::string_view& line) {
  if (text.ends_with('\r')) text.remove_suffix(1);
  mOverlong = text.size() > mLongestLine;
  line = mOverlong ? std::string_view() : text;
  ++mLineNumber;
}

bool LineFile::nextAcrossReads(std::string_view& line) {
  if (!mFile.isOpen()) return false;
  std::size_t searched = 0;
  bool discarded = false;
  for (;;) {
    const char* start = mBuffer.get() + mBegin;
    const auto unread = mEnd - mBegin;
    const auto* feed =
        static_cast<const char*>(std::memchr(start + searched, '\n', unread - searched));
    if (feed != nullptr) {
      const auto length = static_cast<std::size_t>(feed - start);
      mBegin += length + 1;
      hand(std::string_view(start, length), line);
      break;
    }
    searched = unread;
    if (unread == mLongestLine + 2) {  // the buffer is as large as it may become
      discarded = true;
      mBegin = mEnd = searched = 0;
    }
    if (!fill()) {
      if (mBegin == mEnd && !discarded) return false;
      hand(std::string_view(mBuffer.get() + mBegin, mEnd - mBegin), line);
      mBegin = mEnd;
      break;
    }
  }
  if (discarded) {
    mOverlong = true;
    line = {};
  }
  return true;
}

}  // namespace gatehall
