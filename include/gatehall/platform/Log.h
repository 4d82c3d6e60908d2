#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "gatehall/base/Export.h"

namespace gatehall {

/// Where messages go. From any thread. Raises nothing, and never interprets the text.
class GATEHALL_EXPORT Log {
 public:
  virtual ~Log() = default;

  /// One message to the system log, at level error (3), whole and as it stands.
  virtual void error(std::string_view text) = 0;

  /// One message to the host's general diagnostic log.
  virtual void diagnostic(std::string_view text) = 0;
};

/// What was decided about somebody who was to be switched to, or stood at a door of the machine.
struct GATEHALL_EXPORT DecisionRecord {
  enum class Answer {
    Admitted,
    Refused,
    NotFound,     ///< nobody usable has the id
    Undecidable,  ///< so nobody is switched to, or let in
  };

  /// Stands for no user id.
  static constexpr std::uint32_t kUnknown = 0xFFFFFFFF;

  std::uint32_t caller = 0;  ///< who asked: the effective user id
  std::uint32_t userID = 0;  ///< about whom
  std::string userName;      ///< empty: not known
  Answer answer = Answer::Undecidable;
  std::string rule;       ///< in words; empty: none was come to
  std::string source;     ///< of the setting behind the rule; empty: there is none
  std::string reason;     ///< why it is undecidable; else empty
  std::string service{};  ///< at the door of that name, pam.d(5); empty: for a switch
};

/// Where it is kept who was admitted or refused: beside the log of messages, for whoever looks
/// after the machine's security. From the main thread.
class GATEHALL_EXPORT DecisionLog {
 public:
  virtual ~DecisionLog() = default;

  /// Raises nothing.
  virtual void keep(const DecisionRecord& decision) = 0;
};

}  // namespace gatehall
