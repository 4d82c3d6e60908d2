#include "linux/nss/Node.h"

#include <algorithm>
#include <iterator>

#include "base/Ascii.h"
#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/AttributeKinds.h"
#include "linux/nss/Record.h"
#include "portable/text/MatchValues.h"

namespace gatehall::nss {

namespace {

using Key = Directory::Key;
using Records = std::vector<std::shared_ptr<DirectoryRecord>>;

std::optional<Key> keyFor(Type type, std::string_view kind) {
  if (kind == attribute::RecordName) return Key::Name;
  if (kind == attribute::GUID) return Key::GUID;
  const auto ofID = type == Type::User ? attribute::UniqueID : attribute::PrimaryGroupID;
  return kind == ofID ? std::optional(Key::ID) : std::nullopt;
}

std::vector<Type> typesOf(const QueryDescription& description) {
  std::vector<Type> types;
  const auto& asked = description.recordTypes;
  if (std::ranges::find(asked, record::Users) != asked.end()) types.push_back(Type::User);
  if (std::ranges::find(asked, record::Groups) != asked.end()) types.push_back(Type::Group);
  return types;
}

/// Whether the members of a group are asked for, by their names: their GUIDs are wanted, and of
/// nothing but the names are these made.
bool asksForNamesOnly(const QueryDescription& description, std::string_view kind) {
  return kind == attribute::RecordName && description.match == MatchType::EqualTo &&
         description.recordTypes == Strings{std::string(record::Users)} &&
         description.returning == Strings{std::string(attribute::GUID)};
}

class Query final : public DirectoryQuery {
 public:
  Query(std::shared_ptr<Directory> directory, QueryDescription description)
      : mDirectory(std::move(directory)), mDescription(std::move(description)) {}

  std::optional<Records> results(bool) override {
    Records records;
    const auto kind = attribute::canonical(mDescription.attribute);
    const std::size_t limit = mDescription.maximumResults;
    for (const auto type : typesOf(mDescription)) {
      bool areExact = true;
      auto entries = candidates(type, kind, areExact);
      const auto match = areExact ? std::nullopt
                                  : std::optional<MatchValues>(std::in_place, mDescription.match,
                                                               mDescription.values);
      records.reserve(records.size() + entries.size());
      for (auto& entry : entries) {
        if (limit != 0 && records.size() == limit) return records;
        auto record = std::make_shared<Record>(mDirectory, std::move(entry));
        if (match) {
          const auto values = record->valuesForAttribute(kind);
          if (!values || !match->matchesAny(*values)) continue;
        }
        records.push_back(std::move(record));
      }
    }
    return records;
  }

 private:
  /// All entries that the query may mean.
  Entries candidates(Type type, std::string_view kind, bool& areExact) const {
    const auto& values = mDescription.values;
    if (values.empty()) return {};
    if (kind == attribute::RecordName &&
        std::ranges::find(values, attribute::AllRecords) != values.end()) {
      return mDirectory->all(type);
    }
    if (asksForNamesOnly(mDescription, kind)) return mDirectory->named(values);
    const auto key = keyFor(type, kind);
    const bool isEqual = mDescription.match == MatchType::EqualTo;
    const bool isSame = mDescription.match == MatchType::EqualToIgnoringCase;
    if (key && (isEqual || (isSame && key != Key::Name))) {
      return mDirectory->find(type, *key, values);
    }
    areExact = false;
    auto entries = mDirectory->all(type);
    const auto add = [&](Entries more) {
      for (auto& each : more) {
        const auto isThere = [&](const auto& other) { return other->guid == each->guid; };
        if (std::ranges::none_of(entries, isThere)) entries.push_back(std::move(each));
      }
    };
    if (key == Key::Name && isSame) {
      auto spellings = values;
      for (const auto& value : values) spellings.push_back(ascii::lower(value));
      add(mDirectory->find(type, Key::Name, spellings));
    }
    if (type == Type::User) add(mDirectory->askedAbout());
    return entries;
  }

  const std::shared_ptr<Directory> mDirectory;
  const QueryDescription mDescription;
};

}  // namespace

std::vector<NetworkNode::LeftOut> Node::leftOut(std::string_view kind, const std::string& value) {
  const auto key = keyFor(Type::User, attribute::canonical(kind));
  return key ? mDirectory->leftOut(*key, value) : std::vector<LeftOut>();
}

std::shared_ptr<DirectoryRecord> Node::recordByTypeAndName(std::string_view type,
                                                           std::string_view name, const Strings&) {
  if (type != record::Users && type != record::Groups) return nullptr;
  const auto found = mDirectory->find(type == record::Users ? Type::User : Type::Group, Key::Name,
                                      {std::string(name)});
  return found.empty() ? nullptr : std::make_shared<Record>(mDirectory, found.front());
}

std::shared_ptr<DirectoryQuery> Node::query(QueryDescription description) {
  return std::make_shared<Query>(mDirectory, std::move(description));
}

}  // namespace gatehall::nss
