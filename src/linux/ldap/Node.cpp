#include "linux/ldap/Node.h"

#include <algorithm>
#include <array>

#include "gatehall/platform/AttributeKinds.h"
#include "linux/ldap/Find.h"
#include "linux/ldap/Members.h"
#include "linux/ldap/Record.h"
#include "linux/records/AccountID.h"
#include "portable/text/MatchValues.h"

namespace gatehall::ldap {

namespace {

using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

bool asksForMembers(const QueryDescription& description) {
  const auto isOfMembers = [](std::string_view kind) {
    kind = attribute::canonical(kind);
    return kind == attribute::GroupMembership || kind == attribute::GroupMembers ||
           kind == attribute::NestedGroups;
  };
  return isOfMembers(description.attribute) ||
         std::ranges::any_of(description.returning, isOfMembers);
}

class Query final : public DirectoryQuery {
 public:
  Query(std::shared_ptr<Directory> directory, QueryDescription description)
      : mDirectory(std::move(directory)), mDescription(std::move(description)) {}

  std::optional<Records> results(bool) override {
    const auto candidates = findCandidates(*mDirectory, mDescription);
    try {
      return recordsOf(candidates);
    } catch (const DirectoryUnreachable& failure) {
      throw PlatformException(failure.what());  // it has given a part of the answer
    }
  }

 private:
  Records recordsOf(const Candidates& candidates) {
    if (asksForMembers(mDescription)) prefetchMembers(*mDirectory, candidates.entries);
    const MatchValues match(mDescription.match, mDescription.values);
    const std::size_t limit = mDescription.maximumResults;
    Records records;
    for (const auto& entry : candidates.entries) {
      if (entry->hasLocalCopy) continue;
      auto found = std::make_shared<Record>(mDirectory, entry);
      if (!candidates.areExact) {
        const auto values = found->valuesForAttribute(mDescription.attribute);
        if (!values || !match.matchesAny(*values)) continue;
      }
      records.push_back(std::move(found));
      if (limit != 0 && records.size() == limit) break;
    }
    return records;
  }

  const std::shared_ptr<Directory> mDirectory;
  const QueryDescription mDescription;
};

}  // namespace

std::string Node::tls() const {
  switch (mDirectory->settings().tls) {
    case Settings::Tls::Verified:
      return "verified";
    case Settings::Tls::Unverified:
      return "unverified";
    case Settings::Tls::Off:
      break;
  }
  return "off";
}

std::vector<NetworkNode::LeftOut> Node::leftOut(std::string_view kind, const std::string& value) {
  std::vector<LeftOut> result;
  for (auto& found : findLeftOut(*mDirectory, kind, value)) {
    const auto& entry = *found.entry;
    result.push_back({std::string(entry.first(Slot::Name)),
                      std::string(entry.first(Slot::FullName)),
                      std::string(entry.first(Slot::GUID)), accountID(entry.first(Slot::UserID)),
                      std::move(found.rule), std::move(found.why)});
  }
  return result;
}

std::shared_ptr<DirectoryRecord> Node::recordByTypeAndName(std::string_view type,
                                                           std::string_view name, const Strings&) {
  if (type != record::Users && type != record::Groups) return nullptr;
  const auto wanted = type == record::Users ? Schema::Type::User : Schema::Type::Group;
  auto found = findByValues(*mDirectory, std::array{wanted}, Slot::Name, {std::string(name)});
  std::erase_if(found, [](const auto& entry) { return entry->hasLocalCopy; });
  if (found.empty()) return nullptr;
  const auto login = std::ranges::find_if(
      found, [&](const auto& entry) { return entry->first(Slot::Name) == name; });
  return std::make_shared<Record>(mDirectory, login == found.end() ? found.front() : *login);
}

std::shared_ptr<DirectoryQuery> Node::query(QueryDescription description) {
  return std::make_shared<Query>(mDirectory, std::move(description));
}

}  // namespace gatehall::ldap
