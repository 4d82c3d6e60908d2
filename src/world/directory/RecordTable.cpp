#include "world/directory/RecordTable.h"

#include <algorithm>
#include <utility>

#include "gatehall/platform/AttributeKinds.h"
#include "portable/NameBasedUUID.h"
#include "portable/text/MatchValues.h"

namespace gatehall {

namespace {

constexpr auto byPosition = [](const std::shared_ptr<StoredRecord>& record) {
  return record->position;
};

/// The text by which a value of the kind is found: a GUID is the same in either case.
std::string sought(std::string_view kind, std::string_view value) {
  const auto guid = kind == attribute::GUID ? parseUUID(value) : std::nullopt;
  return guid ? uuidText(*guid) : std::string(value);
}

bool wantsAllRecords(const QueryDescription& query) {
  return attribute::canonical(query.attribute) == attribute::RecordName &&
         std::ranges::find(query.values, attribute::AllRecords) != query.values.end();
}

}  // namespace

bool RecordTable::isEmpty() const {
  return std::ranges::all_of(mSections,
                             [](const auto& each) { return each.second.records.empty(); });
}

std::shared_ptr<StoredRecord> RecordTable::add(std::shared_ptr<const RecordContents> contents) {
  auto& section = mSections[contents->type];
  auto record =
      std::make_shared<StoredRecord>(StoredRecord{this, mNextPosition++, std::move(contents)});
  section.records.emplace_hint(section.records.end(), record->position, record);
  for (auto& [kind, index] : section.indexes) enter(index, kind, record);
  return record;
}

void RecordTable::replace(StoredRecord& record, std::shared_ptr<const RecordContents> contents) {
  auto& section = mSections[record.contents->type];
  const auto shared = section.records.at(record.position);
  for (auto& [kind, index] : section.indexes) withdraw(index, kind, record);
  record.contents = std::move(contents);
  for (auto& [kind, index] : section.indexes) enter(index, kind, shared);
}

void RecordTable::remove(StoredRecord& record) {
  auto& section = mSections[record.contents->type];
  for (auto& [kind, index] : section.indexes) withdraw(index, kind, record);
  record.table = nullptr;
  section.records.erase(record.position);
}

void RecordTable::find(const QueryDescription& query, Found& found) const {
  Found here;
  for (const auto& type : query.recordTypes) {
    const auto section = mSections.find(type);
    if (section != mSections.end()) findInSection(section->second, query, here);
  }
  // Several types, or several values, may have found a record twice or out of order.
  std::ranges::sort(here, {}, byPosition);
  here.erase(std::unique(here.begin(), here.end()), here.end());
  for (auto& record : here) {
    if (query.maximumResults != 0 && found.size() >= query.maximumResults) return;
    found.push_back(std::move(record));
  }
}

RecordTable::Found RecordTable::withValue(std::string_view type, std::string_view kind,
                                          std::string_view value) const {
  const auto section = mSections.find(type);
  if (section == mSections.end()) return {};
  kind = attribute::canonical(kind);
  const auto& index = indexOf(section->second, kind);
  const auto found = index.find(sought(kind, value));
  return found == index.end() ? Found() : found->second;
}

void RecordTable::findInSection(const Section& section, const QueryDescription& query,
                                Found& found) {
  const auto kind = attribute::canonical(query.attribute);
  if (wantsAllRecords(query)) {
    for (const auto& [position, record] : section.records) found.push_back(record);
  } else if (query.match == MatchType::EqualTo) {
    const auto& index = indexOf(section, kind);
    for (const auto& value : query.values) {
      const auto entry = index.find(sought(kind, value));
      if (entry != index.end()) {
        found.insert(found.end(), entry->second.begin(), entry->second.end());
      }
    }
  } else {
    const bool isPartOfGUID = kind == attribute::GUID && query.match == MatchType::Contains;
    const MatchValues match(isPartOfGUID ? MatchType::ContainsIgnoringCase : query.match,
                            query.values);
    for (const auto& [position, record] : section.records) {
      const auto* values = record->contents->values(kind);
      if (values != nullptr && match.matchesAny(*values)) found.push_back(record);
    }
  }
}

const RecordTable::Index& RecordTable::indexOf(const Section& section, std::string_view kind) {
  const auto present = section.indexes.find(kind);
  if (present != section.indexes.end()) return present->second;
  auto& index = section.indexes.emplace(kind, Index()).first->second;
  for (const auto& [position, record] : section.records) enter(index, kind, record);
  return index;
}

void RecordTable::enter(Index& index, std::string_view kind,
                        const std::shared_ptr<StoredRecord>& record) {
  const auto* values = record->contents->values(kind);
  if (values == nullptr) return;
  for (const auto& value : *values) {
    auto& records = index[sought(kind, value)];
    const auto at = std::ranges::lower_bound(records, record->position, {}, byPosition);
    if (at == records.end() || *at != record) records.insert(at, record);
  }
}

void RecordTable::withdraw(Index& index, std::string_view kind, const StoredRecord& record) {
  const auto* values = record.contents->values(kind);
  if (values == nullptr) return;
  for (const auto& value : *values) {
    const auto entry = index.find(sought(kind, value));
    if (entry == index.end()) continue;  // the record has the value twice
    auto& records = entry->second;
    const auto at = std::ranges::lower_bound(records, record.position, {}, byPosition);
    if (at != records.end() && (*at)->position == record.position) records.erase(at);
    if (records.empty()) index.erase(entry);
  }
}

}  // namespace gatehall
