#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ctl/print/Answer.h"
#include "ctl/print/Screen.h"
#include "ctl/request/Host.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// A command line that can't be carried out; the message says what is wrong with it.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a verb is asked.
struct Request {
  Strings operands;
  /// The values of the verb's own options that were given, by name, in their order; a flag has
  /// none.
  std::map<std::string, Strings, std::less<>> options{};
  bool json = false;  ///< only Answer::json is wanted, else only the rest
  TableStyle style{};
  const Screen& screen;

  /// Whether the option was given.
  bool has(std::string_view name) const { return options.contains(name); }

  /// What was given for the option, for the last time if it was several times.
  std::optional<std::string> option(std::string_view name) const {
    const auto values = allOf(name);
    return values.empty() ? std::nullopt : std::optional(values.back());
  }

  /// What was given for an option that may be given several times.
  Strings allOf(std::string_view name) const {
    const auto entry = options.find(name);
    return entry != options.end() ? entry->second : Strings();
  }
};

/// One thing that gatehallctl does. A verb stands with its help in one file.
struct Verb {
  enum class Operands { None, One, Any, OneOrMore, AnyWords };

  std::string_view name;
  Operands operands = Operands::None;
  std::string_view operandName{};  ///< of one
  /// An option of its own: "--name", what its value is called (empty: it is a flag and has none),
  /// and help on it.
  struct Option {
    std::string name;
    std::string valueName;
    std::string help;
  };
  std::vector<Option> options{};
  std::string_view summary;      ///< what it shows, on a line of the list of verbs
  std::string_view description;  ///< paragraphs
  std::string_view example{};    ///< the words of a command line after "gatehallctl "
  bool goesOn = false;           ///< prints all of its answer while it runs, which may be for long

  /// Runs on the installed host. May raise UsageError, and whatever the host raises.
  Answer (*run)(const Host& host, const Request& request) = nullptr;

  /// Runs before there is a host, and answers unless it leaves that to run; nullptr: it does. May
  /// raise UsageError.
  std::optional<Answer> (*runBefore)(const Host::Source& source, const Request& request) = nullptr;
};

}  // namespace gatehall::ctl
