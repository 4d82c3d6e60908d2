#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ctl/request/Host.h"
#include "gatehall/base/Value.h"

namespace gatehall::ctl {

/// What becomes of an account on a machine.
struct Standing {
  bool isAllowed = false;
  std::string rule{};     ///< in words (Verdict)
  std::string source{};   ///< of the setting behind it; empty: there is none
  std::string reason{};   ///< why there is nothing to be decided; empty: a login rule decided
  bool isListed = false;  ///< the login screen shows the account

  /// What the reason says may change with every question.
  bool isAs(const Standing& other) const {
    return isAllowed == other.isAllowed && rule == other.rule && source == other.source &&
           isListed == other.isListed;
  }
};

/// An account, without what only its own machine could tell of it.
struct KnownAccount {
  std::string name{};
  std::string longName{};
  std::string guid{};
  std::string node{};
  std::optional<std::uint32_t> userID{};
  Standing standing{};
};

/// Everybody on one machine.
struct MachineState {
  std::vector<KnownAccount> accounts{};
  std::size_t administrators = 0;  ///< who may log in because they are
  Strings missing{};               ///< why some directory's accounts aren't there, a sentence each
  Strings missingNodes{};          ///< those directories
};

/// The state of the installed host, every account that a directory lists and whoever else the login
/// screen shows. Raises nothing of the host's but for the list that it shows.
MachineState machineState(const Host& host);

}  // namespace gatehall::ctl
