#include "ctl/request/OptionWords.h"

#include <algorithm>
#include <vector>

#include "portable/text/NearestName.h"

namespace gatehall::ctl {

namespace {

const Verb::Option& optionNamed(const std::string& name, std::span<const Verb::Option> known) {
  const auto found = std::ranges::find(known, name, &Verb::Option::name);
  if (found != known.end()) return *found;
  std::vector<std::string_view> names;
  for (const auto& option : known) names.push_back(option.name);
  throw UsageError("unknown option '" + name + "'" + whatWasMeant(name, names));
}

}  // namespace

Strings readOptions(std::span<const std::string> words, std::span<const Verb::Option> known,
                    bool untilOperand, GivenOptions& given) {
  Strings operands;
  for (auto word = words.begin(); word != words.end(); ++word) {
    const bool isOption = word->size() > 1 && word->front() == '-';
    if (*word == "--" || (!isOption && untilOperand)) {
      operands.insert(operands.end(), *word == "--" ? word + 1 : word, words.end());
      break;
    }
    if (!isOption) {
      operands.push_back(*word);
      continue;
    }
    const auto equals = word->starts_with("--") ? word->find('=') : std::string::npos;
    const auto written = word->substr(0, equals);
    const auto& option = optionNamed(written == "-h" ? "--help" : written, known);
    if (option.valueName.empty() && equals != std::string::npos) {
      throw UsageError("'" + written + "' takes no value");
    }
    auto& values = given[option.name];
    if (option.valueName.empty()) continue;
    if (equals != std::string::npos) {
      values.push_back(word->substr(equals + 1));
    } else if (word + 1 != words.end()) {
      values.push_back(*++word);
    } else {
      throw UsageError("'" + written + "' lacks its " + option.valueName);
    }
  }
  return operands;
}

std::string whatWasMeant(std::string_view text, std::span<const std::string_view> names) {
  if (names.empty()) return {};
  const auto nearest = nearestName(text, names);
  if (nearest.edits > std::max<std::size_t>(text.size() / 3, 1)) return {};
  return std::string("; did you mean '").append(nearest.name).append("'?");
}

}  // namespace gatehall::ctl
