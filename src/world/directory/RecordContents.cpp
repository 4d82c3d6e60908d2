#include "world/directory/RecordContents.h"

#include <algorithm>

#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

const Strings* RecordContents::values(std::string_view kind) const {
  const auto found = std::ranges::find(attributes, attribute::canonical(kind), &Attribute::kind);
  return found == attributes.end() ? nullptr : &found->values;
}

bool RecordContents::holds(std::string_view kind, std::string_view value) const {
  const auto* present = values(kind);
  return present != nullptr && std::ranges::find(*present, value) != present->end();
}

}  // namespace gatehall
