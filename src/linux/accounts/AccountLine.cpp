#include "linux/accounts/AccountLine.h"

#include "base/Ascii.h"
#include "linux/files/FaultLog.h"
#include "linux/records/AccountID.h"

namespace gatehall::accountLine {

bool readID(std::string_view text, std::string_view what, std::uint32_t& number,
            std::string& fault) {
  if (const auto read = accountID(text)) {
    number = *read;
    return true;
  }
  const bool isNumber = ascii::isNumber(text.substr(text.starts_with('-') ? 1 : 0));
  fault = std::string(what) + " " + (isNumber ? "" : "\"") + printable(text) +
          (isNumber ? " is out of range" : "\" is not a number");
  return false;
}

bool checkLine(std::string_view line, std::string_view name, std::size_t count,
               std::size_t expected, std::string& fault) {
  if (line.find('\0') != std::string_view::npos) {
    fault = "the line holds a NUL byte";
  } else if (count != expected) {
    fault =
        "the line has " + std::to_string(count) + " fields instead of " + std::to_string(expected);
  } else if (name.empty()) {
    fault = "the name is empty";
  }
  return fault.empty();
}

}  // namespace gatehall::accountLine
