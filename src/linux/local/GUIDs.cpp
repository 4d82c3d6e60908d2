#include "linux/local/GUIDs.h"

namespace gatehall::local {

GUIDSet localGUIDs(const MatchValues& values) {
  GUIDSet guids;
  for (const auto text : values.distinct()) {
    const auto guid = parseUUID(text);
    if (guid && isNameBased(*guid) && uuidText(*guid) == text) guids.insert(*guid);
  }
  return guids;
}

}  // namespace gatehall::local
