#include "ctl/export/StandIns.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <utility>
#include <vector>

#include "base/Ascii.h"
#include "gatehall/platform/AttributeKinds.h"
#include "portable/NameBasedUUID.h"

namespace gatehall::ctl {

namespace {

constexpr std::array<std::string_view, 3> kNodes{"local", "unix", "search"};

template <class Visit>
void eachRecord(const Json& world, Visit visit) {
  for (const auto& node : world.value(Json::json_pointer("/directory/nodes"), Json::array())) {
    for (const auto& record : node.value("records", Json::array())) visit(record);
  }
}

std::string sameInEitherCase(const std::string& guid) {
  const auto bytes = parseUUID(guid);
  return bytes ? uuidText(*bytes) : guid;
}

std::string padded(std::size_t number, int digits) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%0*zu", digits, number);
  return text.data();
}

std::string guidText(std::size_t number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "00000000-0000-4000-8000-%012zX", number);
  return text.data();
}

}  // namespace

Strings textsOf(const Json& attributes, std::string_view kind) {
  const auto found = attributes.find(kind);
  if (found == attributes.end()) return {};
  Strings texts;
  const auto add = [&](const Json& value) {
    texts.push_back(value.is_string() ? value.get<std::string>() : value.dump());
  };
  if (found->is_array()) {
    std::ranges::for_each(*found, add);
  } else {
    add(*found);
  }
  return texts;
}

StandIns::StandIns(const Json& world, Collation& collation) {
  struct Person {
    std::string shown;
    Strings names;
  };
  std::vector<Person> people;
  std::set<std::string> guids;
  eachRecord(world, [&](const Json& record) {
    const auto& attributes = record.value("attributes", Json::object());
    for (const auto& guid : textsOf(attributes, attribute::GUID))
      guids.insert(sameInEitherCase(guid));
    auto names = textsOf(attributes, attribute::RecordName);
    if (names.empty()) return;
    if (record.value("type", "") != record::Users) {
      for (const auto& name : names) group(name);
      return;
    }
    const auto full = textsOf(attributes, attribute::FullName);
    people.push_back({full.empty() || full.front().empty() ? names.front() : full.front(), names});
  });
  std::ranges::stable_sort(people, [&](const Person& left, const Person& right) {
    return collation.compare(left.shown, right.shown) < 0;
  });
  mDigits = static_cast<int>(std::to_string(people.size()).size());
  for (const auto& person : people) {
    const auto first = user(person.names.front());
    for (std::size_t index = 1; index < person.names.size(); ++index) {
      mUsers.emplace(person.names[index], first + "-" + std::to_string(index));
    }
  }
  // As they stood in order, their stand-ins do.
  for (const auto& each : guids) guid(each);
}

std::string StandIns::made(Texts& texts, const std::string& text, std::string_view prefix,
                           std::size_t& last) {
  const auto found = texts.find(text);
  if (found != texts.end()) return found->second;
  std::string standIn(prefix);
  return texts.emplace(text, standIn.append(std::to_string(++last))).first->second;
}

std::string StandIns::user(const std::string& name) {
  if (name == "root" || name == "admin") return name;
  const auto found = mUsers.find(name);
  if (found != mUsers.end()) return found->second;
  return mUsers.emplace(name, "user" + padded(++mLastUser, mDigits)).first->second;
}

std::string StandIns::fullName(const std::string& name) {
  auto text = user(name);
  text.front() = ascii::upper(text.front());
  return text;
}

std::string StandIns::group(const std::string& name) {
  if (name == "admin" || name == "gatehall-access") return name;
  return made(mGroups, name, "group", mLastGroup);
}

std::string StandIns::node(const std::string& name) {
  if (std::ranges::find(kNodes, name) != kNodes.end()) return name;
  return made(mNodes, name, "directory", mLastNode);
}

std::string StandIns::guid(const std::string& guid) {
  const auto key = sameInEitherCase(guid);
  const auto found = mGUIDs.find(key);
  if (found != mGUIDs.end()) return found->second;
  return mGUIDs.emplace(key, guidText(++mLastGUID)).first->second;
}

}  // namespace gatehall::ctl
