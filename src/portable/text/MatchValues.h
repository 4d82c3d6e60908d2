#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>

#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// The values of a query, ready to be compared with those of many records.
class MatchValues {
 public:
  MatchValues(MatchType match, const Strings& values);
  MatchValues(const MatchValues&) = delete;
  MatchValues& operator=(const MatchValues&) = delete;

  /// Whether a record's value matches any of the query's.
  bool matches(std::string_view value) const;
  bool matchesAny(const Strings& values) const;

  bool isExact() const { return !mContains && !mIgnoresCase; }

  /// How many different values there are.
  std::size_t size() const { return mDistinct.size(); }
  const std::unordered_set<std::string_view>& distinct() const { return mDistinct; }

 private:
  bool mContains;
  bool mIgnoresCase;
  Strings mValues;  ///< folded when case is ignored
  std::unordered_set<std::string_view> mDistinct;
};

}  // namespace gatehall
