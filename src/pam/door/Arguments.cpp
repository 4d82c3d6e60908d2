#include "pam/door/Arguments.h"

#include <optional>

namespace gatehall::pam {

namespace {

/// What stands behind the prefix.
std::optional<std::string_view> valueOf(std::string_view word, std::string_view prefix) {
  if (!word.starts_with(prefix)) return std::nullopt;
  word.remove_prefix(prefix.size());
  return word;
}

constexpr bool isNameCharacter(char each) {
  return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
         (each >= '0' && each <= '9') || each == '-' || each == '_' || each == '.' || each == '+';
}

/// Names between single commas.
bool isListOfNames(std::string_view list) {
  bool isInName = false;
  for (const char each : list) {
    if (each == ',' ? !isInName : !isNameCharacter(each)) return false;
    isInName = each != ',';
  }
  return isInName;
}

const char* readServices(std::string_view value, Arguments& arguments) {
  if (!isListOfNames(value)) return "is no list of services' names between commas";
  arguments.services = value;
  return nullptr;
}

const char* readOnUndecidable(std::string_view value, Arguments& arguments) {
  if (value != "refuse" && value != "admit") return R"(is neither "refuse" nor "admit")";
  arguments.admitsUndecidable = value == "admit";
  return nullptr;
}

const char* readHours(std::string_view value, Arguments& arguments) {
  if (value != "yes" && value != "no") return R"(is neither "yes" nor "no")";
  arguments.hours = value == "yes";
  return nullptr;
}

struct Known {
  std::string_view prefix;
  const char* (*read)(std::string_view value, Arguments& arguments);
};

constexpr Known kKnown[] = {
    {"services=", readServices}, {"on-undecidable=", readOnUndecidable}, {"hours=", readHours}};

}  // namespace

Arguments readArguments(std::span<const std::string_view> words) {
  Arguments arguments;
  Arguments unusable;
  unsigned seen = 0;
  for (const auto word : words) {
    const char* fault = "is no argument of this module";
    unsigned bit = 1;
    for (const auto& known : kKnown) {
      if (const auto value = valueOf(word, known.prefix)) {
        fault = (seen & bit) != 0 ? "is there twice" : known.read(*value, arguments);
        seen |= bit;
        break;
      }
      bit <<= 1U;
    }
    if (fault == nullptr || unusable.fault != nullptr) continue;
    unusable.fault = fault;
    unusable.faulty = word;
  }
  if (unusable.fault == nullptr) return arguments;
  unusable.services = arguments.services;
  return unusable;
}

bool guards(const Arguments& arguments, std::string_view service) {
  return holdsService(arguments.services, service) ||
         (arguments.fault != nullptr && holdsService(kUsualServices, service));
}

}  // namespace gatehall::pam
