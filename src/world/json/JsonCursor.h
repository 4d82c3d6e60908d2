#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "world/json/JsonTree.h"

namespace gatehall {

/// A place in a JSON text, on the way from its root: reads what stands there and raises WorldError,
/// naming the place, when that is something else. Good as long as the cursors it came from and the
/// tree.
class JsonCursor {
 public:
  JsonCursor(const JsonSource& source, const JsonValue& root) : mSource(source), mValue(root) {}

  /// Raises WorldError: where it is, what is wrong.
  [[noreturn]] void fail(std::string_view what) const { mSource.fail(faultHere(what)); }

  /// The same, unless faults are collected (JsonSource): then it goes on.
  void note(std::string_view what) const { mSource.note(faultHere(what)); }

  /// What is wrong here.
  JsonFault faultHere(std::string_view what) const {
    return {.offset = mValue.offset, .path = path(), .what = std::string(what)};
  }

  /// File, line, column and path of keys, as an error names them.
  std::string place() const;

  /// Bytes before it in the text.
  std::size_t offset() const { return mValue.offset; }

  bool isNull() const { return is<std::nullptr_t>(); }
  bool isBoolean() const { return is<bool>(); }
  bool isInteger() const { return is<std::int64_t>(); }
  bool isReal() const { return is<JsonReal>(); }
  bool isString() const { return is<std::string>(); }
  bool isArray() const { return is<JsonValue::Elements>(); }
  bool isObject() const { return is<JsonValue::Members>(); }

  bool boolean() const;
  const std::string& string() const;
  const std::string& nonEmptyString() const;
  const JsonReal& real() const;
  std::int64_t integer(std::int64_t least = std::numeric_limits<std::int64_t>::min(),
                       std::int64_t most = std::numeric_limits<std::int64_t>::max()) const;

  /// The object itself, after a check that it has no other keys than these.
  const JsonCursor& object(std::span<const std::string_view> keys) const;
  const JsonCursor& object(std::initializer_list<std::string_view> keys) const {
    return object(std::span(keys.begin(), keys.size()));
  }

  /// The object's value of the key, if it has one.
  std::optional<JsonCursor> find(std::string_view key) const;

  /// Calls with it. Where faults are collected, what is wrong in one value keeps nobody from
  /// looking at the next; the same for elements and members.
  template <class Function>
  void with(std::string_view key, Function function) const {
    if (const auto at = find(key)) {
      mSource.attempt([&] { function(*at); });
    }
  }

  std::size_t size() const { return elements().size(); }

  /// Calls with a cursor for each element of an array.
  template <class Function>
  void forEachElement(Function function) const {
    std::size_t index = 0;
    for (const auto& element : elements()) {
      mSource.attempt([&] { function(JsonCursor(*this, element, {}, index)); });
      ++index;
    }
  }

  /// Calls with the key and a cursor for each member of an object.
  template <class Function>
  void forEachMember(Function function) const {
    for (const auto& member : members()) {
      mSource.attempt(
          [&] { function(member.key, JsonCursor(*this, member.value, member.key, 0)); });
    }
  }

 private:
  JsonCursor(const JsonCursor& parent, const JsonValue& value, std::optional<std::string_view> key,
             std::size_t index)
      : mSource(parent.mSource), mValue(value), mParent(&parent), mKey(key), mIndex(index) {}

  template <class Content>
  bool is() const {
    return std::holds_alternative<Content>(mValue.content);
  }
  const JsonValue::Elements& elements() const;
  const JsonValue::Members& members() const;
  std::string path() const;

  const JsonSource& mSource;
  const JsonValue& mValue;
  const JsonCursor* mParent = nullptr;
  std::optional<std::string_view> mKey;
  std::size_t mIndex = 0;
};

}  // namespace gatehall
