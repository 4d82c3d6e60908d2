#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ctl/print/Json.h"
#include "ctl/service/TerminalAgent.h"
#include "explain/Explained.h"
#include "gatehall/base/Value.h"
#include "linux/bus/BusMethod.h"
#include "linux/files/HostOptions.h"

namespace gatehall::ctl {

/// Has gatehalld(8) explain what this run's own rights don't suffice for. Once it isn't there or
/// doesn't answer, it is asked no more. For one thread.
class ServiceExplainer {
 public:
  /// Whether somebody stands at a terminal who can be asked for a password.
  enum class Prompts { No, OnTerminal };

  ServiceExplainer(HostOptions options, Prompts prompts);

  /// What is known of the same account once the service was asked. What it doesn't tell is among
  /// what is unknown, with the reason.
  struct Answer {
    Json json;            ///< with the keys of found's
    Explained explained;  ///< for lines
    bool isTold;          ///< the service says at least the verdict; else what was found stands
  };

  /// The methods that tell of an account, all and the verdict, and the arguments of both.
  struct Question {
    const char* explain;
    const char* canLogIn;
    BusArguments arguments;
  };

  /// Asks about what isn't known, or can't be decided, of the one who was asked about. Absent: all
  /// is known, or the service can't be told who is meant.
  std::optional<Answer> explain(const Explained& found, const Json& json);

 private:
  Answer told(const Question& question, const Explained& found, const Json& json);
  Dictionary call(const char* method, const BusArguments& arguments, const Explained& found,
                  bool allowsPasswords = false) const;

  const HostOptions mOptions;
  bool mMayPrompt;
  std::string mWhyAway;  ///< why it is asked no more; "": it is asked
  std::unique_ptr<TerminalAgent> mAgent;
};

}  // namespace gatehall::ctl
