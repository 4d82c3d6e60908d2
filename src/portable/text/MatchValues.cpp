#include "portable/text/MatchValues.h"

#include <algorithm>

#include "portable/text/CaseFolding.h"

namespace gatehall {

MatchValues::MatchValues(MatchType match, const Strings& values)
    : mContains(match == MatchType::Contains || match == MatchType::ContainsIgnoringCase),
      mIgnoresCase(match == MatchType::EqualToIgnoringCase ||
                   match == MatchType::ContainsIgnoringCase),
      mValues(values) {
  if (mIgnoresCase) {
    for (auto& each : mValues) each = foldedCase(each);
  }
  mDistinct.reserve(mValues.size());
  mDistinct.insert(mValues.begin(), mValues.end());
}

bool MatchValues::matches(std::string_view value) const {
  if (!mContains && !mIgnoresCase) {
    return mDistinct.size() == 1 ? mValues.front() == value : mDistinct.contains(value);
  }
  const auto folded = mIgnoresCase ? foldedCase(value) : std::string(value);
  if (!mContains) return mDistinct.contains(folded);
  return std::any_of(mValues.begin(), mValues.end(), [&](const std::string& each) {
    return folded.find(each) != std::string::npos;
  });
}

bool MatchValues::matchesAny(const Strings& values) const {
  return std::any_of(values.begin(), values.end(),
                     [this](const std::string& value) { return matches(value); });
}

}  // namespace gatehall
