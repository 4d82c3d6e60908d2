#include "gatehall/directory/RecordForUserAttributes.h"

#include <algorithm>

#include "directory/FailureRegion.h"
#include "gatehall/directory/DesiredAttributes.h"
#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/directory/Queries.h"
#include "gatehall/directory/RecordConvenience.h"
#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

namespace {

const Value* singleValue(const Dictionary& attributes, std::string_view kind) {
  const auto entry = attributes.find(kind);
  if (entry == attributes.end()) return nullptr;
  const auto* elements = entry->second.array();
  if (elements == nullptr) return &entry->second;
  return elements->empty() ? nullptr : &elements->front();
}

const std::string* singleString(const Dictionary& attributes, std::string_view kind) {
  const auto* value = singleValue(attributes, kind);
  return value != nullptr ? value->string() : nullptr;
}

std::shared_ptr<DirectoryNode> describedNode(const Dictionary& attributes) {
  if (const auto* name = singleString(attributes, attribute::MetaNodeLocation)) {
    if (auto named = nodeWithName(*name)) return named;
  }
  return searchNode();
}

std::uint32_t describedUID(const Dictionary& attributes) {
  const auto* value = singleValue(attributes, attribute::UniqueID);
  if (value == nullptr) return 0;
  return static_cast<std::uint32_t>(value->integerValue().value_or(0));
}

template <class Predicate>
std::shared_ptr<DirectoryRecord> firstRecord(const Records& records, Predicate predicate) {
  const auto found = std::find_if(records.begin(), records.end(),
                                  [&](const auto& record) { return predicate(*record); });
  return found != records.end() ? *found : nullptr;
}

std::shared_ptr<DirectoryRecord> findRecord(const Dictionary& attributes) {
  const auto* name = singleString(attributes, attribute::RecordName);
  const auto node = describedNode(attributes);
  if (!node || name == nullptr) return nullptr;

  const auto records = queryResults(
      node, equalTo({record::Users}, attribute::RecordName, {*name}, desiredUserAttributes()));
  if (!records || records->empty()) return nullptr;
  if (records->size() == 1) return records->front();

  if (const auto* guid = singleValue(attributes, attribute::GUID)) {
    const auto text = guid->description();
    if (auto found = firstRecord(*records, [&](auto& each) { return getGUID(each) == text; })) {
      return found;
    }
  }
  const auto uid = describedUID(attributes);
  return firstRecord(*records, [&](auto& each) { return getUID(each) == uid; });
}

}  // namespace

std::shared_ptr<DirectoryRecord> recordForUserAttributes(const Dictionary& attributes) {
  return loggingFailure("Unable to find the users on the search node.",
                        std::shared_ptr<DirectoryRecord>(), [&] { return findRecord(attributes); });
}

}  // namespace gatehall
