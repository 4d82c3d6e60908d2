#include "world/file/Values.h"

#include <charconv>
#include <limits>

#include "world/json/Base64.h"
#include "world/json/DateText.h"

namespace gatehall {

namespace {

Data readData(const JsonCursor& at) {
  auto bytes = dataFromBase64(at.string());
  if (!bytes) at.fail("expected bytes in base64");
  return std::move(*bytes);
}

double readReal(const JsonCursor& at) {
  const auto& real = at.real();
  if (real.text.find_first_of(".eE") == std::string::npos) at.fail("a whole number beyond 64 bits");
  return real.value;
}

Array readArray(const JsonCursor& at) {
  Array elements;
  at.forEachElement([&](const JsonCursor& element) { elements.push_back(readValue(element)); });
  return elements;
}

}  // namespace

Value readValue(const JsonCursor& at) {
  if (at.isString()) return at.string();
  if (at.isInteger()) return at.integer();
  if (at.isReal()) return readReal(at);
  if (at.isBoolean()) return at.boolean();
  if (at.isArray()) return readArray(at);
  if (at.isNull()) at.fail("there is no such value as null; leave the key out");
  if (at.find("$date")) return readDate(*at.object({"$date"}).find("$date"));
  if (at.find("$data")) return readData(*at.object({"$data"}).find("$data"));
  return readDictionary(at);
}

Dictionary readDictionary(const JsonCursor& at) {
  Dictionary entries;
  at.forEachMember([&](const std::string& key, const JsonCursor& member) {
    entries.emplace(key, readValue(member));
  });
  return entries;
}

Date readDate(const JsonCursor& at) {
  const auto date = dateFromText(at.string());
  if (!date) at.fail("expected a date such as 2026-11-21T09:00:00Z");
  return *date;
}

std::uint32_t readID(const JsonCursor& at) {
  return static_cast<std::uint32_t>(at.integer(0, std::numeric_limits<std::uint32_t>::max()));
}

std::optional<std::uint32_t> idFromText(std::string_view text) {
  std::uint32_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(id)
                                                                  : std::nullopt;
}

Strings readStrings(const JsonCursor& at) {
  Strings texts;
  at.forEachElement([&](const JsonCursor& element) { texts.push_back(element.string()); });
  return texts;
}

}  // namespace gatehall
