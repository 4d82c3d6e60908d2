#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gatehall/base/PlatformException.h"
#include "gatehall/platform/DirectoryService.h"

namespace gatehall {

/// A directory that gave no answer at all: it could not be connected to, refused, or nothing came
/// within its time. One that breaks off in the middle of an answer raises a plain
/// PlatformException.
class DirectoryUnreachable : public PlatformException {
 public:
  using PlatformException::PlatformException;
};

/// A node of a network directory, behind the local ones on the search path. What it and its records
/// raise names the directory and the reason.
class NetworkNode : public DirectoryNode {
 public:
  /// Why the directory can't be asked now, as a text that names it; empty when it can. From any
  /// thread; raises nothing.
  virtual std::optional<std::string> whyUnreachable() = 0;

  /// Whether its entries count as absent while it can't be asked. From any thread; raises nothing.
  virtual bool isIgnoredWhenAway() const { return false; }

  /// How what is sent to it is protected: "verified", "unverified", "off"; "" where no setting
  /// says.
  virtual std::string tls() const { return {}; }

  /// The server that is asked now, and how long it takes to answer a question that means nothing.
  struct Reached {
    std::string server;
    std::chrono::duration<double> roundTrip{};
    /// Whether its answers come out of a cache, since its own servers are away; absent: nobody can
    /// tell.
    std::optional<bool> isFromCache{};
  };

  /// Asks it. From any thread. Raises PlatformException, whose text says in words why the directory
  /// can't be reached.
  virtual Reached reach() = 0;

  /// An entry that is no account on this machine.
  struct LeftOut {
    std::string name;
    std::string fullName;
    std::string guid;
    std::optional<std::uint32_t> userID;
    std::string rule;  ///< why: "no user id", "user id too low", …; gatehallctl(1) has all
    std::string why;   ///< the same in a sentence without a full stop
  };

  /// The users with that value of one of the kinds RecordName, UniqueID and GUID that are left out.
  /// From any thread. May raise PlatformException.
  virtual std::vector<LeftOut> leftOut(std::string_view, const std::string&) { return {}; }

  /// Drops what was fetched and kept for the next questions. From any thread; raises nothing.
  virtual void forgetFetched() {}
};

}  // namespace gatehall
