#include "gatehall/directory/SubnodeCounts.h"

#include <vector>

#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"

namespace gatehall {

void subnodeCounts(SubnodeCounts* counts) {
  if (counts == nullptr) return;
  *counts = {};
  try {
    const auto node = searchNode();
    if (!node) return;
    auto names = node->subnodeNames().value_or(Strings());
    counts->total = names.size();
    for (const auto& unreachable : node->unreachableSubnodeNames().value_or(Strings())) {
      std::erase(names, unreachable);
    }
    counts->reachable = names.size();
  } catch (const PlatformException&) {
    counts->reachable = 0;
  }
}

}  // namespace gatehall
