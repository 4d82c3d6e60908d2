#include "accounts/Nearest.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/records/NetworkNode.h"
#include "portable/text/NearestName.h"

namespace gatehall {

namespace {

constexpr std::size_t kMostNames = 3;

/// A shorter part of a name is found in too many others.
constexpr std::size_t kShortestPart = 3;

/// Of a network directory no more is looked at.
constexpr std::uint32_t kMostLookedAt = 1000;

/// None of a node that doesn't answer: a suggestion is worth no failure.
Strings namesOn(const std::shared_ptr<DirectoryNode>& node, QueryDescription description) {
  try {
    Strings names;
    const auto query = node ? node->query(std::move(description)) : nullptr;
    const auto records = query ? query->results(true) : std::nullopt;
    for (const auto& record : records.value_or(Records())) {
      auto values = record->valuesForAttribute(attribute::RecordName).value_or(Strings());
      std::ranges::move(values, std::back_inserter(names));
    }
    return names;
  } catch (const PlatformException&) {
    return {};
  }
}

Strings nearest(const AccountHost& host, std::string_view type, const std::string& text) {
  try {
    const QueryDescription all{{std::string(type)},
                               std::string(attribute::RecordName),
                               MatchType::EqualTo,
                               {std::string(attribute::AllRecords)},
                               {std::string(attribute::RecordName)},
                               0};
    auto names = namesOn(host.machine == nullptr ? searchNode() : localNode(), all);
    // One slip leaves one half of a name as it is.
    const auto middle = text.size() / 2;
    if (middle >= kShortestPart) {
      auto alike = all;
      alike.match = MatchType::ContainsIgnoringCase;
      alike.values = {text.substr(0, middle), text.substr(middle)};
      alike.maximumResults = kMostLookedAt;
      for (const auto& node : networkNodes(host)) {
        if (node->whyUnreachable()) continue;
        std::ranges::move(namesOn(node, alike), std::back_inserter(names));
      }
    }
    const std::vector<std::string_view> views(names.begin(), names.end());
    const auto found = nearestNames(text, views, kMostNames);
    return {found.begin(), found.end()};
  } catch (const PlatformException&) {
    return {};
  }
}

}  // namespace

Strings nearestLoginNames(const AccountHost& host, const std::string& text) {
  return nearest(host, record::Users, text);
}

Strings nearestGroupNames(const AccountHost& host, const std::string& text) {
  return nearest(host, record::Groups, text);
}

}  // namespace gatehall
