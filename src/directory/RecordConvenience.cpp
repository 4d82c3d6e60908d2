#include "gatehall/directory/RecordConvenience.h"

#include <utility>

#include "gatehall/directory/NodeConvenience.h"
#include "gatehall/platform/AttributeKinds.h"
#include "gatehall/platform/Platform.h"

namespace gatehall {

namespace {

std::optional<std::string> firstValue(DirectoryRecord& record, std::string_view kind) {
  auto values = record.valuesForAttribute(kind);
  if (!values || values->empty()) return std::nullopt;
  return std::move(values->front());
}

}  // namespace

std::uint32_t getUID(DirectoryRecord& record) {
  const auto values = record.valuesForAttribute(attribute::UniqueID);
  if (!values || values->empty()) return kUnreadableUID;
  if (values->size() > 1) {
    platform().log().diagnostic("Too many unique IDs for user " + description(*values) +
                                ", will use the first one.");
  }
  return static_cast<std::uint32_t>(integerPrefix(values->front()));
}

std::optional<std::string> getGUID(DirectoryRecord& record) {
  return firstValue(record, attribute::GUID);
}

std::shared_ptr<DirectoryNode> node(DirectoryRecord& record) {
  const auto name = firstValue(record, attribute::MetaNodeLocation);
  return name ? nodeWithName(*name) : nullptr;
}

std::string description(DirectoryRecord& record) {
  return description(record.valuesForAttribute(attribute::RecordName).value_or(Strings()));
}

int compareGUIDs(DirectoryRecord& left, DirectoryRecord& right) {
  const auto order = getGUID(left) <=> getGUID(right);
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

}  // namespace gatehall
