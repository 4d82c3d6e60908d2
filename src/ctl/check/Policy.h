#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ctl/print/Findings.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// A setting that holds, and where it stands.
struct PlacedSetting {
  Value value;
  Finding place{};                 ///< its file, line, column and path only
  std::vector<Finding> entries{};  ///< the same of each entry of a list, where they are known

  /// Of an entry; of the setting where its own isn't known.
  const Finding& placeOf(std::size_t entry) const {
    return entry < entries.size() ? entries[entry] : place;
  }
};

/// The settings that hold on a host, by key.
using Policy = std::map<std::string, PlacedSetting, std::less<>>;

/// The finding at that place.
inline Finding findingAt(Finding place, Finding::Severity severity, std::string text,
                         std::string remedy) {
  place.severity = severity;
  place.text = std::move(text);
  place.remedy = std::move(remedy);
  return place;
}

}  // namespace gatehall::ctl
