#include "linux/local/Selection.h"

#include <algorithm>

#include "base/Ascii.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/accounts/AccountLine.h"
#include "linux/records/AccountID.h"

namespace gatehall::local {

namespace {

/// Those of the texts that are user or group ids as records spell them.
std::unordered_set<std::uint32_t> accountIDs(const std::unordered_set<std::string_view>& texts) {
  std::unordered_set<std::uint32_t> ids;
  for (const auto text : texts) {
    const bool isSpelledSo = text == "0" || !text.starts_with('0');
    const auto id = accountID(text);
    if (id && isSpelledSo) ids.insert(*id);
  }
  return ids;
}

}  // namespace

bool asksFor(const QueryDescription& description, std::string_view kind) {
  if (attribute::canonical(description.attribute) == kind) return true;
  return std::ranges::any_of(description.returning, [&](const std::string& each) {
    return attribute::canonical(each) == kind;
  });
}

QueryDescription queryByName(std::string_view recordType, std::string_view name) {
  return {{std::string(recordType)},
          std::string(attribute::RecordName),
          MatchType::EqualTo,
          {std::string(name)},
          {},
          0};
}

Selection::Selection(const QueryDescription& description, std::span<const IDField> idFields)
    : mKind(attribute::canonical(description.attribute)),
      mValues(description.match, description.values) {
  if (mKind == attribute::RecordName) {
    const bool isAll =
        std::ranges::find(description.values, attribute::AllRecords) != description.values.end();
    mWay = isAll ? Way::All : Way::Name;
    return;
  }
  if (!mValues.isExact()) return;
  if (mKind == attribute::GUID) {
    mWay = Way::GUID;
    for (const auto text : mValues.distinct()) {
      const auto guid = parseUUID(text);
      if (guid && isNameBased(*guid) && uuidText(*guid) == text) mGUIDs.insert(*guid);
    }
    return;
  }
  const auto field = std::ranges::find(idFields, mKind, &IDField::kind);
  if (field == idFields.end()) return;
  mWay = Way::ID;
  mIDField = field->index;
  mIDs = accountIDs(mValues.distinct());
}

bool Selection::takes(DirectoryRecord& record) const {
  if (mWay == Way::All) return true;
  const auto values = record.valuesForAttribute(mKind);
  return values && mValues.matchesAny(*values);
}

bool Selection::takesID(std::string_view line) const {
  const auto id = accountID(accountLine::field(line, mIDField));
  return !id || (mIDs.size() == 1 ? *mIDs.begin() == *id : mIDs.contains(*id));
}

std::string Selection::idText(std::string_view line, std::size_t field) {
  const auto text = accountLine::field(line, field);
  const auto id = accountID(text);
  if (id) return std::to_string(*id);
  return std::string(ascii::isNumber(text) ? text : std::string_view());
}

std::set<std::string> Selection::single() const {
  std::set<std::string> values;
  if (isByExactName()) values.insert(mValues.distinct().begin(), mValues.distinct().end());
  if (mWay == Way::ID) {
    for (const auto id : mIDs) values.insert(std::to_string(id));
  }
  if (mWay == Way::GUID) {
    for (const auto& guid : mGUIDs) values.insert(uuidText(guid));
  }
  values.erase("");
  return values;
}

bool Selection::isImpossible() const {
  return mValues.size() == 0 || (mWay == Way::ID && mIDs.empty()) ||
         (mWay == Way::GUID && mGUIDs.empty());
}

}  // namespace gatehall::local
