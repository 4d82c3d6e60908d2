#include "gatehall/users/AttributeValue.h"

#include <algorithm>

namespace gatehall {

namespace {

/// Asks the string, or the list's strings in order up to the first that says yes.
template <class Question>
bool anyString(const Value& value, Question question) {
  if (const auto* text = value.string()) return question(*text);
  const auto* elements = value.array();
  return elements != nullptr &&
         std::any_of(elements->begin(), elements->end(), [&](const Value& element) {
           const auto* text = element.string();
           return text != nullptr && question(*text);
         });
}

}  // namespace

std::optional<Value> attrAtIndex(const Value& value, std::uint64_t index) {
  const auto* elements = value.array();
  if (elements == nullptr) return value;
  if (index >= elements->size()) return std::nullopt;
  return (*elements)[index];
}

bool isAttrEqualToString(const Value& value, std::string_view text) {
  return anyString(value, [&](const std::string& each) { return each == text; });
}

bool doesAttrContainString(const Value& value, std::string_view text) {
  return anyString(value,
                   [&](const std::string& each) { return each.find(text) != std::string::npos; });
}

}  // namespace gatehall
