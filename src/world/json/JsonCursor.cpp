#include "world/json/JsonCursor.h"

#include <algorithm>

namespace gatehall {

namespace {

/// A key as a part of a path (RFC 6901, 3).
std::string escaped(std::string_view key) {
  std::string text;
  for (const char c : key) {
    if (c == '~') {
      text += "~0";
    } else if (c == '/') {
      text += "~1";
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace

std::string JsonCursor::place() const {
  const auto keys = path();
  return mSource.place(mValue.offset) + (keys.empty() ? "" : ": " + keys);
}

std::string JsonCursor::path() const {
  if (mParent == nullptr) return {};
  return mParent->path() + "/" + (mKey ? escaped(*mKey) : std::to_string(mIndex));
}

bool JsonCursor::boolean() const {
  if (!isBoolean()) fail("expected true or false");
  return std::get<bool>(mValue.content);
}

const std::string& JsonCursor::string() const {
  if (!isString()) fail("expected a string");
  return std::get<std::string>(mValue.content);
}

const std::string& JsonCursor::nonEmptyString() const {
  if (string().empty()) fail("expected a string that is not empty");
  return string();
}

const JsonReal& JsonCursor::real() const {
  if (!isReal()) fail("expected a real number");
  return std::get<JsonReal>(mValue.content);
}

std::int64_t JsonCursor::integer(std::int64_t least, std::int64_t most) const {
  const auto* number = std::get_if<std::int64_t>(&mValue.content);
  if (number == nullptr || *number < least || *number > most) {
    fail("expected a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return *number;
}

const JsonCursor& JsonCursor::object(std::span<const std::string_view> keys) const {
  for (const auto& member : members()) {
    if (std::ranges::find(keys, member.key) != keys.end()) continue;
    std::string known;
    for (const auto key : keys) known += (known.empty() ? "" : ", ") + std::string(key);
    mSource.note({.offset = member.offset,
                  .path = path() + "/" + escaped(member.key),
                  .what = "unknown key; known are " + known,
                  .known = {keys.begin(), keys.end()}});
  }
  return *this;
}

std::optional<JsonCursor> JsonCursor::find(std::string_view key) const {
  const auto found = std::ranges::find(members(), key, &JsonMember::key);
  if (found == members().end()) return std::nullopt;
  return JsonCursor(*this, found->value, found->key, 0);
}

const JsonValue::Elements& JsonCursor::elements() const {
  if (!isArray()) fail("expected a list");
  return std::get<JsonValue::Elements>(mValue.content);
}

const JsonValue::Members& JsonCursor::members() const {
  if (!isObject()) fail("expected an object");
  return std::get<JsonValue::Members>(mValue.content);
}

}  // namespace gatehall
