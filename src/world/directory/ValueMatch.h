#pragma once

#include <string>
#include <string_view>

#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// Whether an attribute's value matches any of a query's values.
class ValueMatch {
 public:
  ValueMatch(MatchType type, const Strings& values);

  bool operator()(std::string_view value) const;

 private:
  bool mContains;
  bool mIgnoresCase;
  Strings mValues;  ///< folded when case is ignored
};

}  // namespace gatehall
