#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "ctl/request/Host.h"

namespace gatehall::ctl {

/// Everybody who may be the one who calls, by user id. Who lies about it brings about a refusal at
/// most. Of a machine under a folder nobody: its accounts are others.
std::set<std::uint32_t> callers(const Host& host);

/// Why something may not be done without being forced.
struct Refusal {
  std::string why{};       ///< empty: it may
  bool isUnknown = false;  ///< because there is no telling
};

/// Why those may not put the machine after in the place of the one before: somebody of them could
/// log in no longer, or can't be known to be able to. Each is asked for by user id: a directory
/// answers for one account when it doesn't list all of them. Call it while there is no other
/// thread.
Refusal whyShutOut(const std::set<std::uint32_t>& userIDs, const Host::Source& before,
                   const Host::Source& after);

}  // namespace gatehall::ctl
