#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>

#include "ctl/Answer.h"
#include "ctl/Host.h"
#include "platform/Value.h"

namespace gatehall::ctl {

/// A command line that can't be carried out; the message says what is wrong with it.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What a verb is asked.
struct Request {
  Strings operands;
  bool json = false;  ///< only Answer::json is wanted, else only the rest
};

/// One thing that gatehallctl does. A verb stands with its help in one file.
struct Verb {
  enum class Operands { None, One, OneOrMore, AnyWords };

  std::string_view name;
  Operands operands = Operands::None;
  std::string_view operandName{};  ///< of one
  std::string_view summary;        ///< what it shows, on a line of the list of verbs
  std::string_view description;    ///< paragraphs
  std::string_view example{};      ///< the words of a command line after "gatehallctl "

  /// Runs on the installed host. May raise UsageError, and whatever the host raises.
  Answer (*run)(const Host& host, const Request& request) = nullptr;
};

}  // namespace gatehall::ctl
