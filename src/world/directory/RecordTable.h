#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "world/directory/RecordContents.h"

namespace gatehall {

class RecordTable;

/// A record's place in a table. It outlives its removal, so that whoever holds it can tell.
struct StoredRecord {
  RecordTable* table = nullptr;  ///< nullptr once it was removed
  std::uint64_t position = 0;    ///< larger than those of all records added before
  std::shared_ptr<const RecordContents> contents;
};

/// The records of one node, in the order in which they were added. An exact match on an attribute
/// costs what it finds: the first one on a kind makes an index of the records of that type by the
/// kind's values, which later changes keep right. Every other match looks at all records of the
/// type.
///
/// Not guarded: the directory's lock is held around every call.
class RecordTable {
 public:
  using Found = std::vector<std::shared_ptr<StoredRecord>>;

  explicit RecordTable(std::string nodeName) : mNodeName(std::move(nodeName)) {}
  RecordTable(const RecordTable&) = delete;
  RecordTable& operator=(const RecordTable&) = delete;

  const std::string& nodeName() const { return mNodeName; }

  bool isEmpty() const;

  std::shared_ptr<StoredRecord> add(std::shared_ptr<const RecordContents> contents);
  void replace(StoredRecord& record, std::shared_ptr<const RecordContents> contents);
  void remove(StoredRecord& record);

  /// Appends the matching records, each once, in the table's order, until there are as many as the
  /// query's maximum.
  void find(const QueryDescription& query, Found& found) const;

  /// The records of the type whose attribute has that value, a GUID in either case, in the table's
  /// order.
  Found withValue(std::string_view type, std::string_view kind, std::string_view value) const;

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  /// By value, the records that have it, in the table's order.
  using Index = std::unordered_map<std::string, Found, Hash, std::equal_to<>>;

  /// The records of one type.
  struct Section {
    std::map<std::uint64_t, std::shared_ptr<StoredRecord>> records;
    mutable std::map<std::string, Index, std::less<>> indexes;  ///< by kind; made by questions
  };

  static void enter(Index& index, std::string_view kind,
                    const std::shared_ptr<StoredRecord>& record);
  static void withdraw(Index& index, std::string_view kind, const StoredRecord& record);
  static const Index& indexOf(const Section& section, std::string_view kind);
  static void findInSection(const Section& section, const QueryDescription& query, Found& found);

  const std::string mNodeName;
  std::map<std::string_view, Section> mSections;  ///< by record type
  std::uint64_t mNextPosition = 0;
};

}  // namespace gatehall
