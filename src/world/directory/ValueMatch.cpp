#include "world/directory/ValueMatch.h"

#include <algorithm>

#include "portable/text/CaseFolding.h"

namespace gatehall {

ValueMatch::ValueMatch(MatchType type, const Strings& values)
    : mContains(type == MatchType::Contains || type == MatchType::ContainsIgnoringCase),
      mIgnoresCase(type == MatchType::EqualToIgnoringCase ||
                   type == MatchType::ContainsIgnoringCase),
      mValues(values) {
  if (!mIgnoresCase) return;
  for (auto& each : mValues) each = foldedCase(each);
}

bool ValueMatch::operator()(std::string_view value) const {
  const auto folded = mIgnoresCase ? foldedCase(value) : std::string(value);
  return std::ranges::any_of(mValues, [&](const std::string& each) {
    return mContains ? folded.find(each) != std::string::npos : folded == each;
  });
}

}  // namespace gatehall
