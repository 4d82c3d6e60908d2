#include "linux/local/Node.h"

#include <algorithm>
#include <iterator>

#include "base/Ascii.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/local/Groups.h"
#include "linux/local/Users.h"

namespace gatehall::local {

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
    for (char& c : value) c = ascii::upper(c);
  }
  return description;
}

/// The users that match, then the groups.
class Query final : public DirectoryQuery {
 public:
  Query(std::shared_ptr<Host> host, QueryDescription description)
      : mHost(std::move(host)), mDescription(withGUIDsAsSpelled(std::move(description))) {}

  std::optional<Records> results(bool allowPartial) override {
    Records records;
    const bool asksForUsers = asksFor(mDescription, record::Users);
    const bool asksForGroups = asksFor(mDescription, record::Groups);
    if (!asksForUsers && !asksForGroups) return records;
    const auto context = std::make_shared<Context>(mHost);
    if (asksForUsers) {
      auto users = findUsers(context, mDescription, allowPartial);
      records.assign(std::make_move_iterator(users.begin()), std::make_move_iterator(users.end()));
    }
    if (asksForGroups) {
      auto groupDescription = mDescription;
      const auto limit = mDescription.maximumResults;
      if (limit != 0) {
        if (records.size() >= limit) return records;
        groupDescription.maximumResults = limit - static_cast<std::uint32_t>(records.size());
      }
      auto groups = findGroups(context, groupDescription);
      records.insert(records.end(), groups.begin(), groups.end());
    }
    return records;
  }

 private:
  std::shared_ptr<Host> mHost;
  QueryDescription mDescription;
};

}  // namespace

std::optional<std::string> Node::nodeName() { return std::string(kLocalNodeName); }

std::optional<Strings> Node::subnodeNames() { return std::nullopt; }

std::optional<Strings> Node::unreachableSubnodeNames() { return std::nullopt; }

std::shared_ptr<DirectoryRecord> Node::recordByTypeAndName(std::string_view type,
                                                           std::string_view name, const Strings&) {
  // What is listed to be fetched is read out of the record when it's asked for: one record's values
  // cost no more then.
  if (name == attribute::AllRecords) return nullptr;
  const auto context = std::make_shared<Context>(mHost);
  if (type == record::Users) return userNamed(context, name);
  if (type == record::Groups) return groupNamed(context, name);
  return nullptr;
}

std::shared_ptr<DirectoryQuery> Node::query(QueryDescription description) {
  return std::make_shared<Query>(mHost, std::move(description));
}

}  // namespace gatehall::local
