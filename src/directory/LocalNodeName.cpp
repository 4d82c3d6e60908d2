#include "gatehall/directory/LocalNodeName.h"

#include <memory>

#include "base/ProcessWide.h"
#include "directory/FailureRegion.h"
#include "gatehall/directory/NodeConvenience.h"

namespace gatehall {

namespace {

ProcessWide<const std::string> cachedName;

}  // namespace

std::optional<std::string> localNodeName() {
  if (const auto name = cachedName.get()) return *name;
  const auto fetched =
      loggingFailure("Unable to get the local node's name", std::optional<std::string>(), [] {
        const auto node = localNode();
        return node ? node->nodeName() : std::nullopt;
      });
  if (fetched) cachedName.keep(std::make_shared<const std::string>(*fetched));
  return fetched;
}

}  // namespace gatehall
