#include "linux/pam/Control.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include "base/Ascii.h"

namespace gatehall::pam {

namespace {

constexpr int kUnset = std::numeric_limits<int>::min();
constexpr std::string_view kDefault = "default";

constexpr std::array<std::pair<std::string_view, Action>, 6> kActions{
    {{"ignore", Ignore}, {"ok", Ok}, {"done", Done}, {"bad", Bad}, {"die", Die}, {"reset", Reset}}};

void setUnset(Control& control, int action) { std::ranges::replace(control, kUnset, action); }

Control word(int success, int otherwise) {
  Control control{};
  control.fill(otherwise);
  control[kSuccess] = success;
  control[kNewAuthtokReqd] = success;
  control[kIgnore] = Ignore;
  return control;
}

/// Takes the prefix away; false when the text has another.
bool take(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

void skipBlanks(std::string_view& text) {
  constexpr std::string_view kBlanks = " \t\n\v\f\r";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

/// The number of an answer, that many for "default"; absent for anything else.
std::optional<std::size_t> takeResult(std::string_view& text) {
  for (std::size_t result = 0; result < kResults.size(); ++result) {
    if (take(text, kResults[result])) return result;
  }
  if (take(text, kDefault)) return kResults.size();
  return std::nullopt;
}

std::optional<int> takeAction(std::string_view& text) {
  for (const auto& [name, action] : kActions) {
    if (take(text, name)) return action;
  }
  std::uint32_t jump = 0;  // a number that is too large wraps around, as in libpam
  for (; !text.empty() && ascii::isDigit(text.front()); text.remove_prefix(1)) {
    jump = jump * 10 + static_cast<std::uint32_t>(text.front() - '0');
  }
  return jump != 0 ? std::optional(static_cast<int>(jump)) : std::nullopt;
}

/// False when the text is none.
bool readPairs(std::string_view text, Control& control) {
  for (skipBlanks(text); !text.empty(); skipBlanks(text)) {
    const auto result = takeResult(text);
    if (!result) return false;
    skipBlanks(text);
    if (!take(text, "=")) return false;
    skipBlanks(text);
    const auto action = takeAction(text);
    if (!action) return false;
    if (*result == kResults.size()) {
      setUnset(control, *action);
    } else {
      control[*result] = *action;
    }
  }
  return true;
}

}  // namespace

Control readControl(std::string_view text) {
  if (ascii::isSame(text, "required")) return word(Ok, Bad);
  if (ascii::isSame(text, "requisite")) return word(Ok, Die);
  if (ascii::isSame(text, "optional")) return word(Ok, Ignore);
  if (ascii::isSame(text, "sufficient")) return word(Done, Ignore);
  Control control{};
  control.fill(kUnset);
  if (!readPairs(text, control)) return everythingIsBad();
  setUnset(control, Bad);
  return control;
}

Control everythingIsBad() {
  Control control{};
  control.fill(Bad);
  return control;
}

}  // namespace gatehall::pam
