#include "ctl/export/Reached.h"

#include <algorithm>
#include <utility>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/users/CachedUser.h"

namespace gatehall::ctl {

namespace {

QueryDescription question(std::string_view type, std::string_view kind, Strings values) {
  auto description = equalTo({type}, kind, std::move(values),
                             type == record::Users ? CachedUser::desiredAttributes() : Strings());
  // GUIDs are spelled in either case.
  if (kind == attribute::GUID) description.match = MatchType::EqualToIgnoringCase;
  return description;
}

Records ask(NodeRecords& place, std::string_view type, std::string_view kind,
            const std::set<std::string>& values, Gathered& gathered) {
  if (values.empty()) return {};
  try {
    const auto query =
        place.node->query(question(type, kind, Strings(values.begin(), values.end())));
    auto found = query ? query->results(true) : std::nullopt;
    return found ? std::move(*found) : Records();
  } catch (const PlatformException& failure) {
    gathered.note(std::string("A directory did not tell all: ") + failure.what());
    return {};
  }
}

void insertAll(std::set<std::string>& texts, Strings&& more) {
  for (auto& each : more) texts.insert(std::move(each));
}

void insertLower(std::set<std::string>& texts, const Strings& more) {
  for (const auto& each : more) texts.insert(ascii::lower(each));
}

/// Takes from the open ones what was not asked for before.
std::set<std::string> taken(const std::set<std::string>& all, std::set<std::string>& asked) {
  std::set<std::string> open;
  for (const auto& each : all) {
    if (asked.insert(each).second) open.insert(each);
  }
  return open;
}

class Search {
 public:
  Search(std::vector<NodeRecords>& places, const std::vector<NodeRecords>& own, Seeds seeds,
         Gathered& gathered)
      : mPlaces(places), mOwn(own), mSeeds(std::move(seeds)), mGathered(gathered) {
    mFound.resize(places.size());
  }

  void run() {
    while (round()) {
    }
    for (std::size_t index = 0; index < mPlaces.size(); ++index) {
      auto& place = mPlaces[index];
      place.users = ask(place, record::Users, attribute::GUID, mFound[index].users, mGathered);
      place.groups = ask(place, record::Groups, attribute::GUID, mFound[index].groups, mGathered);
      addPrimaryGroups(place, mFound[index].groups);
    }
  }

 private:
  struct Found {
    std::set<std::string> users;
    std::set<std::string> groups;
  };

  /// Asks every node for what came up; false when nothing did.
  bool round() {
    const auto guids = taken(mSeeds.guids, mAsked.guids);
    const auto names = taken(mSeeds.names, mAsked.names);
    const auto groupNames = taken(mSeeds.groupNames, mAsked.groupNames);
    const auto userIDs = taken(mSeeds.userIDs, mAsked.userIDs);
    if (guids.empty() && names.empty() && groupNames.empty() && userIDs.empty()) return false;
    followOwn(guids, groupNames);
    for (std::size_t index = 0; index < mPlaces.size(); ++index) {
      auto& place = mPlaces[index];
      for (const auto& [kind, values] :
           {std::pair(attribute::GUID, &guids), std::pair(attribute::RecordName, &names),
            std::pair(attribute::UniqueID, &userIDs)}) {
        for (const auto& user : ask(place, record::Users, kind, *values, mGathered)) {
          insertLower(mFound[index].users, valuesOf(*user, attribute::GUID));
        }
      }
      for (const auto& [kind, values] :
           {std::pair(attribute::GUID, &guids), std::pair(attribute::RecordName, &groupNames)}) {
        for (const auto& group : ask(place, record::Groups, kind, *values, mGathered)) {
          insertLower(mFound[index].groups, valuesOf(*group, attribute::GUID));
          mSeeds.addMembersOf(*group);
        }
      }
    }
    return true;
  }

  void followOwn(const std::set<std::string>& guids, const std::set<std::string>& names) {
    for (const auto& place : mOwn) {
      for (const auto& group : place.groups) {
        const auto hasGUID = [&](const auto& guid) { return guids.contains(ascii::lower(guid)); };
        const auto isCalled = [&](const auto& name) { return names.contains(name); };
        if (std::ranges::any_of(valuesOf(*group, attribute::GUID), hasGUID) ||
            std::ranges::any_of(valuesOf(*group, attribute::RecordName), isCalled)) {
          mSeeds.addMembersOf(*group);
        }
      }
    }
  }

  void addPrimaryGroups(NodeRecords& place, const std::set<std::string>& known) {
    std::set<std::string> ids;
    for (const auto& user : place.users) {
      insertAll(ids, valuesOf(*user, attribute::PrimaryGroupID));
    }
    for (auto& group : ask(place, record::Groups, attribute::PrimaryGroupID, ids, mGathered)) {
      const auto guid = valuesOf(*group, attribute::GUID);
      if (guid.empty() || !known.contains(ascii::lower(guid.front())))
        place.groups.push_back(std::move(group));
    }
  }

  std::vector<NodeRecords>& mPlaces;
  const std::vector<NodeRecords>& mOwn;
  Seeds mSeeds;
  Seeds mAsked;
  Gathered& mGathered;
  std::vector<Found> mFound;
};

Records all(NodeRecords& place, std::string_view type, Gathered& gathered) {
  const auto description =
      question(type, attribute::RecordName, {std::string(attribute::AllRecords)});
  try {
    if (auto found = queryResults(place.node, description)) return std::move(*found);
  } catch (const PlatformException& failure) {
    gathered.note(std::string("Not every account or group can be told: ") + failure.what());
    gathered.addFault("queryResults", failure.what(), {{"value", attribute::AllRecords}});
  }
  return ask(place, type, attribute::RecordName, {std::string(attribute::AllRecords)}, gathered);
}

}  // namespace

void Seeds::addMembersOf(DirectoryRecord& group) {
  insertAll(names, valuesOf(group, attribute::GroupMembership));
  addGUIDs(valuesOf(group, attribute::GroupMembers));
  addGUIDs(valuesOf(group, attribute::NestedGroups));
}

void Seeds::addGUIDs(const Strings& spelled) { insertLower(guids, spelled); }

void fetchAll(NodeRecords& place, Gathered& gathered) {
  place.users = all(place, record::Users, gathered);
  place.groups = all(place, record::Groups, gathered);
}

void fetchReached(std::vector<NodeRecords>& network, const std::vector<NodeRecords>& own,
                  Seeds seeds, Gathered& gathered) {
  Search(network, own, std::move(seeds), gathered).run();
}

}  // namespace gatehall::ctl
