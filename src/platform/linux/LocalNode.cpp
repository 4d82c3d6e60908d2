#include "platform/linux/LocalNode.h"

#include <algorithm>
#include <iterator>

#include "platform/AttributeKinds.h"
#include "platform/linux/LocalGroups.h"
#include "platform/linux/LocalUsers.h"

namespace gatehall {

namespace {

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

bool asksFor(const QueryDescription& description, std::string_view type) {
  return std::ranges::find(description.recordTypes, type) != description.recordTypes.end();
}

/// A GUID is the same in either case (RFC 9562), so that a deny list written in lower case denies.
/// Records spell theirs in upper case.
QueryDescription withGUIDsAsSpelled(QueryDescription description) {
  if (attribute::canonical(description.attribute) != attribute::GUID) return description;
  for (auto& value : description.values) {
    std::ranges::transform(value, value.begin(), [](char c) {
      return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    });
  }
  return description;
}

/// The users that match, then the groups.
class LocalQuery final : public DirectoryQuery {
 public:
  LocalQuery(std::shared_ptr<LocalHost> host, QueryDescription description)
      : mHost(std::move(host)), mDescription(withGUIDsAsSpelled(std::move(description))) {}

  std::optional<Records> results(bool) override {
    Records records;
    const bool asksForUsers = asksFor(mDescription, record::Users);
    const bool asksForGroups = asksFor(mDescription, record::Groups);
    if (!asksForUsers && !asksForGroups) return records;
    const auto context = std::make_shared<LocalContext>(mHost);
    if (asksForUsers) {
      auto users = findLocalUsers(context, mDescription);
      records.assign(std::make_move_iterator(users.begin()), std::make_move_iterator(users.end()));
    }
    auto groupDescription = mDescription;
    const auto limit = mDescription.maximumResults;
    if (limit != 0) {
      if (records.size() >= limit) return records;
      groupDescription.maximumResults = limit - static_cast<std::uint32_t>(records.size());
    }
    if (asksForGroups) {
      auto groups = findLocalGroups(context, groupDescription);
      records.insert(records.end(), groups.begin(), groups.end());
    }
    return records;
  }

 private:
  std::shared_ptr<LocalHost> mHost;
  QueryDescription mDescription;
};

}  // namespace

std::optional<std::string> LocalNode::nodeName() { return std::string(kLocalNodeName); }

std::optional<Strings> LocalNode::subnodeNames() { return std::nullopt; }

std::optional<Strings> LocalNode::unreachableSubnodeNames() { return std::nullopt; }

std::shared_ptr<DirectoryRecord> LocalNode::recordByTypeAndName(std::string_view type,
                                                                std::string_view name,
                                                                const Strings&) {
  // What is listed to be fetched is read out of the record when it's asked for: one record's values
  // cost no more then.
  if (name == attribute::AllRecords) return nullptr;
  const auto context = std::make_shared<LocalContext>(mHost);
  if (type == record::Users) return localUserNamed(context, name);
  if (type == record::Groups) return localGroupNamed(context, name);
  return nullptr;
}

std::shared_ptr<DirectoryQuery> LocalNode::query(QueryDescription description) {
  return std::make_shared<LocalQuery>(mHost, std::move(description));
}

}  // namespace gatehall
