#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "gatehall/platform/DirectoryService.h"
#include "linux/accounts/MachineGUIDs.h"
#include "portable/text/MatchValues.h"

namespace gatehall::local {

/// Whether a query matches on that kind or wants it fetched.
bool asksFor(const QueryDescription& description, std::string_view kind);

/// A query for all records of one name.
QueryDescription queryByName(std::string_view recordType, std::string_view name);

/// What a query over an account file asks for. Who knows the file decides from it, and from as
/// little of a line as possible, which lines are wanted. A line whose id can't be read is, so that
/// reading it whole says what is wrong with it.
class Selection {
 public:
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;

  /// The last word on a record, where the line alone doesn't have it.
  bool takes(DirectoryRecord& record) const;

  /// Every record has to be asked for its value.
  bool isByValue() const { return mWay == Way::Value; }

  /// Whether it asks for records of some ids, or of GUIDs that are made of ids.
  bool isByNumber() const { return mWay == Way::ID || mWay == Way::GUID; }

  /// The names, ids or GUIDs of this machine that are asked for and that none of the records has.
  /// Empty when the query doesn't ask for single ones.
  template <class Record>
  std::set<std::string> missing(std::span<const std::shared_ptr<Record>> records) const {
    auto values = single();
    for (const auto& record : records) {
      if (values.empty()) break;
      for (const auto& value : record->valuesForAttribute(mKind).value_or(Strings())) {
        values.erase(value);
      }
    }
    return values;
  }

  /// Whether it asks for a GUID that none of the records has, of this machine or not.
  template <class Record>
  bool lacksGUID(std::span<const std::shared_ptr<Record>> records) const {
    if (mWay != Way::GUID) return false;
    std::unordered_set<std::string> found;
    for (const auto& record : records) {
      for (auto& value : record->valuesForAttribute(mKind).value_or(Strings())) {
        found.insert(std::move(value));
      }
    }
    return std::ranges::any_of(mValues.distinct(), [&](std::string_view value) {
      return !found.contains(std::string(value));
    });
  }

  bool isByExactName() const { return mWay == Way::Name && mValues.isExact(); }

  /// So many records have all the names that are asked for.
  bool hasAllNames(std::size_t found) const { return isByExactName() && found == mValues.size(); }

 protected:
  enum class Way { All, Name, ID, GUID, Value };
  using GUIDSet = std::unordered_set<UUIDBytes, GUIDHash>;

  /// A kind of which a line has the value, an id, in the field of that index.
  struct IDField {
    std::string_view kind;
    std::size_t index;
  };

  Selection(const QueryDescription& description, std::span<const IDField> idFields);
  ~Selection() = default;

  bool takesID(std::string_view line) const;
  bool isImpossible() const;
  /// The line's id as a record would spell it, even one beyond all ids; empty when it is no number.
  static std::string idText(std::string_view line, std::size_t field);
  /// The values for which a record is expected; none when the query asks for more than single ones.
  std::set<std::string> single() const;

  std::string mKind;
  MatchValues mValues;
  Way mWay = Way::Value;
  std::size_t mIDField = 0;                ///< of Way::ID
  std::unordered_set<std::uint32_t> mIDs;  ///< of Way::ID; of Way::GUID, those that are known
  /// Of Way::GUID: those that can be made of the machine id, spelled as records spell them.
  GUIDSet mGUIDs;
};

/// The records that a query has found so far, in the order of the file.
template <class Record>
class Found {
 public:
  Found(const Selection& selection, std::size_t limit) : mSelection(selection), mLimit(limit) {}

  bool isFull() const {
    return mLimit != 0 && mRecords.size() >= mLimit && !mSelection.isByValue();
  }
  bool hasAllNames() const { return mSelection.hasAllNames(mRecords.size()); }

  /// Two lines of one name are one record to a query by name: false for the second.
  bool isNew(std::string_view name) {
    return !mSelection.isByExactName() || mNames.emplace(name).second;
  }

  void add(std::shared_ptr<Record> record) { mRecords.push_back(std::move(record)); }

  std::span<const std::shared_ptr<Record>> records() const { return mRecords; }

  /// The results, when nothing more is added.
  std::vector<std::shared_ptr<Record>> take() {
    if (mSelection.isByValue()) {
      std::erase_if(mRecords, [&](const auto& record) { return !mSelection.takes(*record); });
      if (mLimit != 0 && mRecords.size() > mLimit) mRecords.resize(mLimit);
    }
    return std::move(mRecords);
  }

 private:
  const Selection& mSelection;
  const std::size_t mLimit;
  std::vector<std::shared_ptr<Record>> mRecords;
  std::unordered_set<std::string> mNames;
};

}  // namespace gatehall::local
