#include "world/directory/RecordContents.h"

#include <algorithm>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

void RecordContents::requireReadable(std::string_view kind) const {
  const auto found = unreadable.find(attribute::canonical(kind));
  if (found != unreadable.end()) throw PlatformException(found->second);
}

const Strings* RecordContents::values(std::string_view kind) const {
  const auto found = std::ranges::find(attributes, attribute::canonical(kind), &Attribute::kind);
  return found == attributes.end() ? nullptr : &found->values;
}

bool RecordContents::holds(std::string_view kind, std::string_view value) const {
  const auto* present = values(kind);
  return present != nullptr && std::ranges::find(*present, value) != present->end();
}

}  // namespace gatehall
