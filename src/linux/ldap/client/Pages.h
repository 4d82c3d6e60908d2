#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "linux/ldap/client/Connection.h"

namespace gatehall::ldap {

/// The way through the pages of one search. A server begins each page by finding its place again,
/// so unless a size is set, a page that comes fast is followed by a larger one.
class Pages {
 public:
  explicit Pages(std::optional<std::int32_t> size)
      : mSize(size.value_or(kFirst)), mMayGrow(!size.has_value()) {}

  std::int32_t size() const { return mSize; }
  const std::string& cookie() const { return mCookie; }

  /// A page was asked for; an entry of it has come.
  void start() {
    mStart = std::chrono::steady_clock::now();
    mIsEmpty = true;
  }
  void addEntry() { mIsEmpty = false; }

  /// Takes the end of a page and the place of the next one; whether there is one to ask for. A page
  /// that a server refuses for its size is to be asked for once more.
  bool advance(const Result& result, std::string cookie, std::chrono::milliseconds limit) {
    if (!result.isSuccess()) {
      if (mSize <= kFirst || !mMayGrow || !mIsEmpty) return false;
      mSize = kFirst;
      mMayGrow = false;
      return true;
    }
    mCookie = std::move(cookie);
    const bool isFast = std::chrono::steady_clock::now() - mStart < limit / kFast;
    if (mMayGrow && isFast) mSize = std::min(mSize * kGrowth, kLargest);
    return !mCookie.empty();
  }

 private:
  static constexpr std::int32_t kFirst = 1000;
  static constexpr std::int32_t kGrowth = 4;
  static constexpr std::int32_t kLargest = 16000;
  static constexpr int kFast = 10;  ///< times faster than it has to be

  std::int32_t mSize;
  bool mMayGrow;
  bool mIsEmpty = true;
  std::string mCookie;
  std::chrono::steady_clock::time_point mStart;
};

}  // namespace gatehall::ldap
